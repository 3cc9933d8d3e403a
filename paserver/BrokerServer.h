// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "framework/posixThread.h"
#include "link/mqtt/FaultReports.h"
#include "link/mqtt/MqttClient.h"
#include "link/mqtt/answer.h"
#include "paserver/AnswerLog.h"
#include "paserver/IncomingUploads.h"
#include "paserver/Publications.h"
#include "paserver/RequestQueue.h"
#include "paserver/Role.h"
#include "paserver/Wake.h"
#include "paserver/serverMetrics.h"
#include "simserver/SimServer.h"

namespace paserver {

struct ServerSettings {
    palink::BrokerOptions broker{};
    simserver::Station station{};  ///< with the number of the server
    simserver::Options simulation{};
    palink::ServerRole role = palink::ServerRole::Standby;  ///< at the start
    int precedence = 1;                                     ///< 1 is the best
    bool keepsRecords = false;  ///< a stop leaves the records on the broker
};

/// A simulated server on a broker, as docs/link-protocol.md has it: publishes what it holds,
/// carries out what clients ask for, and is active or standby beside other servers.
///
/// The network's thread only notes what arrives. One thread of the server does everything else: it
/// publishes, carries out the requests in the order of their arrival, and keeps the role.
///
/// Every function may be called from any thread.
class BrokerServer final : private palink::MqttListener, private palink::ServerEventSink {
public:
    /// How long a stop takes, at most, to withdraw the records and to report that it is offline;
    /// and how long it waits for a broker that takes nothing.
    static constexpr std::chrono::milliseconds stopLimit{10'000};
    static constexpr std::chrono::milliseconds stopPatience{700};
    /// How long a request for a level meter counts.
    static constexpr std::int64_t meterMS = 5000;

    /// Starts the server, and begins to connect.
    /// @throws palink::BrokerOptionsError when the broker's options cannot be used
    /// @throws std::exception             what the constructor of `SimServer` throws
    explicit BrokerServer(ServerSettings settings);
    BrokerServer(const BrokerServer&) = delete;
    BrokerServer& operator=(const BrokerServer&) = delete;
    /// Stops.
    ~BrokerServer() override;

    /// Begins to stop. Returns at once.
    void requestStop();

    /// Whether it has stopped, or ended because of a failure.
    [[nodiscard]] bool hasEnded() const { return ended_; }

    /// Whether the broker has taken everything that it holds once.
    [[nodiscard]] bool isReady() const { return ready_; }

    /// Whether it is connected to the broker.
    [[nodiscard]] bool isConnected() const;

    /// Why it ends by itself: the broker refuses the first connection or what it publishes for
    /// good, another server with its number has started, or it cannot start again. Empty while it
    /// does not.
    [[nodiscard]] std::string failure() const;

    /// Whether it ends because another server with its number has started.
    [[nodiscard]] bool isReplaced() const { return replaced_; }

    /// Another number whenever the thread of the server is seen to run.
    [[nodiscard]] std::uint64_t beats() const { return beats_; }

    /// For the metrics.
    [[nodiscard]] ServerState state() const;
    [[nodiscard]] const ServerCounters& counters() const { return counters_; }

private:
    class Control;
    struct OwnStatus {
        palink::ServerStatus status;
        bool retained = false;
    };
    struct Network {  // as its thread has noted it
        bool connected = false;
        std::uint64_t connections = 0;
        std::int64_t connectedMS = 0;  // since when, by `monotonicMS`
        std::map<int, palink::ServerStatus> others;
        std::optional<OwnStatus> own;  // what another connection has published as this server
        std::string reason;            // of the last loss
        std::string failure;
        int statusId = 0;  // of the publication of the status, after everything that is held
    };
    enum class Rejoin { No, SameGeneration, NewGeneration };

    // By the network's thread; in BrokerServerLink.cpp.
    void onConnected() override;
    void onDisconnected(const std::string& reason, bool isPermanent) override;
    void onMessage(const palink::ReceivedMessage& message) override;
    void onPublished(int id, int reasonCode) override;
    void take(const palink::ReceivedMessage& message);
    void takeStatus(int dstNo, const palink::ReceivedMessage& message);

    // By the threads of the simulated server; in BrokerServerLink.cpp.
    void deliver(palink::ServerEvent event) override;
    void countAnnouncement(const palink::Record& record);

    // By the server's own thread.
    void run();
    void turn();
    void join();
    void leave(bool withdrawsRecords);
    void rejoin();
    void startSimulation();
    [[nodiscard]] std::chrono::milliseconds pause() const;
    void fail(const std::string& reason);

    // The same; in BrokerServerLink.cpp.
    void takeConnection();
    void takeStatuses();
    void takeOwnStatus(const OwnStatus& own);
    bool publishWaiting(std::size_t most, std::chrono::milliseconds wait,
                        std::chrono::milliseconds patience);
    std::optional<int> publish(const palink::MqttMessage& message);
    void keepStatus(bool isLast);
    [[nodiscard]] palink::ServerStatus status(std::int64_t nowMS);
    [[nodiscard]] palink::MqttMessage statusMessage(const palink::ServerStatus& status) const;
    static std::int64_t hostClockMS();

    // The same; in BrokerServerRequests.cpp.
    void takeRequests();
    void carryOut(const ClientRequest& request);
    void answer(const ClientRequest& request, const std::string& payload);
    void count(const ClientRequest& request, ServerCounters::OperationOutcome outcome);
    void notePreview(const ClientRequest& request);
    void reportFailure(const palink::Refusal& failure);
    std::optional<palink::Answer> resultOf(const ClientRequest& request);
    std::optional<palink::Answer> operate(const ClientRequest& request);
    void relay(const ClientRequest& request);
    void feedMeter(int element);
    void expireMeters();

    const ServerSettings settings_;
    const int dstNo_;
    Wake wake_;
    palink::FaultReports faults_;
    Publications publications_;
    RequestQueue requests_;

    mutable std::mutex lock_;
    // Guarded by lock_.
    Network network_;
    std::deque<std::pair<std::string, std::string>> previews_;  // request id, topic of the answers

    std::atomic<bool> stopping_{false};
    std::atomic<bool> ended_{false};
    std::atomic<bool> ready_{false};
    std::atomic<bool> replaced_{false};
    std::atomic<std::uint64_t> beats_{0};
    std::atomic<bool> active_{false};
    std::atomic<std::size_t> clients_{0};
    ServerCounters counters_;

    // Of the server's own thread.
    std::atomic<std::int64_t> generation_;  // also read by others
    std::unique_ptr<simserver::SimServer> simulation_;
    std::unique_ptr<IncomingUploads> uploads_;
    std::unique_ptr<palink::MqttClient> client_;
    std::uint64_t joined_ = 0;                   // the connection that is in use, 0 for none
    std::optional<palink::MqttMessage> unsent_;  // what the client has not taken yet
    bool isPublished_ = false;  // everything that was held when this connection began
    bool hasRole_ = false;      // since the start of this generation
    Role role_;
    palink::ServerRole reported_ = palink::ServerRole::Standby;
    AnswerLog answers_;
    std::map<int, std::int64_t> meters_;  // until when, by element
    Rejoin rejoin_ = Rejoin::No;

    std::unique_ptr<pa::PosixThread> thread_;
};

}  // namespace paserver
