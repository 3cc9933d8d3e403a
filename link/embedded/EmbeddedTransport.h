// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "../../framework/api.h"
#include "../../framework/posixThread.h"
#include "../Backoff.h"
#include "../DeliveryQueue.h"
#include "../Transport.h"

namespace palink {

/// A server that lives in the same process. Every function may be called from any thread.
class EmbeddedServer {
public:
    virtual ~EmbeddedServer() = default;

    /// A client connects: `client` receives `Connected`, every record that the server holds, and
    /// `InitialSetComplete`; later every change, and at last `Disconnected` when the server ends
    /// the connection. The server may call `client` with locks of its own held, and is held back by
    /// it while too much waits to be delivered. At most one client at a time.
    /// @throws std::exception when the server takes no client now
    virtual void connectClient(ServerEventSink& client) = 0;

    /// The client leaves. When this returns `client` is not called any more.
    virtual void disconnectClient() = 0;

    /// Does what an operation asks for, or reports to the client why not. May come without a
    /// client. An exception that leaves it has the operation dropped and reported.
    virtual void handleOperation(const pa::Operation& operation) = 0;

    /// Returns when the client has received what the server is reporting on any thread at the time
    /// of the call. A server that reports with a lock held takes that lock.
    virtual void finishReports() {}

    /// Starts or stops the level-meter feed of an amplifier element. Feeds end with the client.
    virtual void meterLevel(bool subscribe, int element) = 0;

    /// Stores a file under a name of the server. May come with the controller's mutex held, so it
    /// must not wait for a thread that reports to the client.
    virtual UploadResult storeFile(const std::string& localPath, const std::string& serverPath) = 0;
};

/// Joins the SDK to a server in the same process.
///
/// What the server reports waits in a `DeliveryQueue`, so that the server never runs code of the
/// application. While it is full the server's threads wait, with whatever locks they hold. So
/// nothing that an observer calls waits for the server: operations are handed over on
/// the send queue's thread, level meters and round trips on a second thread of the transport. A
/// request for a level meter that still waits there is replaced by a later one for the same
/// element, a round trip by a later one. While a file is uploaded the queue takes what comes: an
/// observer may have to wait for the upload.
///
/// When the server ends the connection the transport connects again, as often as it takes, on its
/// second thread, after pauses by `Backoff` on the host's clock.
class PA_API EmbeddedTransport final : public Transport, private ServerEventSink {
public:
    /// @param server   must outlive the transport
    /// @param maxBytes how much of what the server reports may wait, by an estimate of its size
    explicit EmbeddedTransport(EmbeddedServer& server,
                               std::size_t maxBytes = DeliveryQueue::defaultMaxBytes);
    ~EmbeddedTransport() override;

    /// Returns when the server has reported all that it reports to a new client.
    /// @throws std::exception when the server takes none at this first attempt
    void start(ServerEventSink& sink) override;
    void stop() override;
    bool send(const pa::Operation& operation) override;
    void meterLevel(bool subscribe, int element) override;
    bool requestRoundTrip(std::uint64_t number) override;
    [[nodiscard]] std::size_t eventsWaiting() const override { return queue_.size(); }
    UploadResult upload(const std::string& localPath, const std::string& serverPath) override;

    /// Waits until everything that the server has reported so far has been delivered. Not to be
    /// called from a callback.
    void waitUntilDelivered();

private:
    void deliver(ServerEvent event) override;  // by the server
    bool admit(const ServerEvent& event);
    void connectLater();
    void connect();
    void runCalls();
    void switchMeter(std::unique_lock<std::mutex>& guard);
    void makeRoundTrip(std::unique_lock<std::mutex>& guard);
    void connectWhenDue(std::unique_lock<std::mutex>& guard);

    EmbeddedServer& server_;
    DeliveryQueue queue_;
    // Of start and stop only.
    std::unique_ptr<pa::PosixThread> calls_;
    unsigned generation_ = pa::forkGeneration();  // of the process that has started it

    std::mutex lock_;
    std::condition_variable callRequested_;  // a level meter, a round trip, a connection
    // Guarded by lock_.
    std::atomic<bool> running_{false};        // also read without it
    bool connected_ = false;                  // by what the server has reported last
    std::map<int, bool> meterRequests_;       // by element
    std::optional<std::uint64_t> roundTrip_;  // the latest that waits: it answers those before
    bool roundTripLost_ = false;              // the connection of the one that is being made
    Backoff backoff_;
    std::optional<std::int64_t> connectAtMS_;  // when the next attempt is due, by monotonicMS
};

}  // namespace palink
