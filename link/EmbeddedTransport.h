#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "framework/posixThread.h"
#include "link/Transport.h"

namespace palink {

/// A server that lives in the same process. Every function may be called from any thread.
class EmbeddedServer {
public:
    virtual ~EmbeddedServer() = default;

    /// A client connects: `client` is told `Connected`, every record that the server holds, and
    /// `InitialSetComplete`; later every change. The server may call `client` with locks of its own
    /// held. At most one client at a time.
    virtual void connectClient(ServerEventSink& client) = 0;

    /// The client goes. When this returns `client` is not called any more.
    virtual void disconnectClient() = 0;

    /// Does what an operation asks for, or tells the client why not. May come with no client there.
    virtual void handleOperation(const pa::Operation& operation) = 0;

    /// Starts or stops the level-meter feed of an amplifier element. Feeds end with the client.
    virtual void meterLevel(bool subscribe, int element) = 0;

    /// Stores a file under a name of the server.
    virtual UploadResult storeFile(const std::string& localPath, const std::string& serverPath) = 0;
};

/// Joins the SDK to a server in the same process. What the server says waits in a queue and is
/// delivered on a thread of the transport, so that the server never runs code of the application.
class EmbeddedTransport final : public Transport, private ServerEventSink {
public:
    /// @param server must outlive the transport
    explicit EmbeddedTransport(EmbeddedServer& server);
    ~EmbeddedTransport() override;

    void start(ServerEventSink& sink) override;
    void stop() override;
    bool send(const pa::Operation& operation) override;
    void meterLevel(bool subscribe, int element) override;
    UploadResult upload(const std::string& localPath, const std::string& serverPath) override;

    /// Waits until everything that the server has said so far has been delivered. Not to be called
    /// from a callback.
    void waitUntilDelivered();

private:
    void deliver(ServerEvent event) override;  // by the server
    void run(ServerEventSink& sink);

    EmbeddedServer& server_;
    std::unique_ptr<pa::PosixThread> thread_;  // of start and stop alone

    std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    std::deque<ServerEvent> queue_;
    bool connected_ = false;
    bool stopping_ = false;
    bool delivering_ = false;
};

}  // namespace palink
