// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "../../framework/api.h"
#include "../../framework/posixThread.h"
#include "../DeliveryQueue.h"
#include "../Transport.h"
#include "BrokerOptions.h"
#include "FaultReports.h"
#include "MqttClient.h"
#include "RecordDecoder.h"
#include "Requests.h"
#include "ServerView.h"
#include "Uploads.h"

namespace palink {

/// How the link over a broker is doing.
struct MqttStatistics {
    bool brokerConnected = false;  ///< whether the broker has accepted the connection
    std::string problem;           ///< why there is no connection to a server; empty with one
    bool permanent = false;        ///< the broker refuses, and will until something is configured
    int dstNo = 0;                 ///< of the server in use, 0 for none
    std::int64_t generation = 0;   ///< its
    bool synced = false;           ///< everything that it holds has arrived
    std::int64_t sinceMS = 0;      ///< since when that is so or not, by the host's monotonic clock
    std::size_t requests = 0;      ///< that wait for an answer
    std::size_t queued = 0;        ///< events that wait to be delivered
    std::uint64_t unanswered = 0;  ///< requests whose outcome is unknown
    std::uint64_t malformed = 0;   ///< messages that were dropped
    std::uint64_t outdated = 0;    ///< records of older generations that were dropped
    std::uint64_t fetches = 0;     ///< how often records were fetched again
};

/// Joins the SDK to audio servers over an MQTT 5 broker, docs/link-protocol.md.
///
/// Three threads: that of the `MqttClient` reads messages, one delivers events, one repeats
/// requests and has records fetched again. The first is held back while too much waits to be
/// delivered; then the broker drops what does not fit its own queue, which is fetched again.
///
/// Every refusal is delivered as `Refusal`, also that of the broker. An operation without an answer
/// is reported through `handleError`, and so is one that the server refuses because it has started
/// again: whether it was carried out before is unknown.
class PA_API MqttTransport final : public Transport, private MqttListener {
public:
    /// How much may wait to be delivered, by default.
    static constexpr std::size_t defaultMaxBytes = DeliveryQueue::defaultMaxBytes;

    /// @param clientUuid of this client
    /// @throws BrokerOptionsError when a file of the options cannot be used
    MqttTransport(BrokerOptions options, std::string clientUuid, Destinations destinations = {},
                  std::size_t maxBytes = defaultMaxBytes);
    ~MqttTransport() override;

    /// Lets the application end uploads and waits for `control`, after a signal for example. Not
    /// while the transport is started.
    /// @param isAbandoned asked about every 50 ms by the threads that wait
    void abandonWaitsWhen(std::function<bool()> isAbandoned) {
        isAbandoned_ = std::move(isAbandoned);
    }

    void start(ServerEventSink& sink) override;
    void stop() override;
    bool send(const pa::Operation& operation) override;
    void meterLevel(bool subscribe, int element) override;
    bool requestRoundTrip(std::uint64_t number) override;
    [[nodiscard]] std::size_t eventsWaiting() const override { return queue_.size(); }

    /// Goes on after a connection that was lost, and gives up after 30 s without progress.
    UploadResult upload(const std::string& localPath, const std::string& serverPath) override;

    /// Asks a simulated server to do something, and waits for the answer; for up to 10 s. Not to be
    /// called from a callback.
    /// @param arguments a JSON object
    /// @return also the refusal of a broker that does not allow this client to ask
    /// @throws std::runtime_error when there is no answer, with the reason
    Answer control(const std::string& function, const std::string& arguments);

    /// Whether the server in use takes control messages.
    [[nodiscard]] bool hasControl() const;

    /// The state now. May be called from any thread.
    [[nodiscard]] MqttStatistics statistics() const;

    /// The broker's address, for messages.
    [[nodiscard]] std::string url() const { return client_.options().url(); }

private:
    void onConnected() override;
    void onDisconnected(const std::string& reason, bool isPermanent) override;
    void onMessage(const ReceivedMessage& message) override;
    void onPause() override { queue_.wake(); }
    void onPublished(int id, int reasonCode) override;

    struct LevelFeed {
        int dstNo = 0;
        std::int64_t askMS = 0;  // when it is asked for again
    };

    void take(const ReceivedMessage& message, ViewChange& change);
    void takeAnswer(const ReceivedMessage& message);
    bool takeLevel(const ReceivedMessage& message, ViewChange& change);
    void apply(const ViewChange& change);
    void deliver(ViewChange& change);
    void ended(const pa::Operation& operation, int dstNo, std::int64_t generation,
               const RequestEnd& end);
    std::optional<int> serverFor(int Selection::*use) const;
    void wakeTimer();
    void runTimer();
    std::optional<std::int64_t> runDue();
    std::optional<std::int64_t> repeatLevels();

    const std::string uuid_;
    const std::string answerTopic_;
    std::function<bool()> isAbandoned_ = [] { return false; };
    FaultReports faults_;
    RecordDecoder decoder_{faults_};
    DeliveryQueue queue_;
    MqttClient client_;
    Requests requests_;
    Uploads uploads_;
    std::unique_ptr<pa::PosixThread> timer_;      // of start and stop only
    unsigned generation_ = pa::forkGeneration();  // of the process that has started it

    mutable std::mutex lock_;
    std::condition_variable due_;  // something may be due sooner than the timer knows
    // Guarded by lock_.
    bool running_ = false;
    ServerView view_;
    bool brokerConnected_ = false;
    std::string brokerProblem_ = "not started";
    bool permanent_ = false;
    bool sooner_ = false;              // something is due sooner than the timer knows
    std::map<int, LevelFeed> levels_;  // by element
    std::uint64_t unanswered_ = 0;
};

}  // namespace palink
