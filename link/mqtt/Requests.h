// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "../../framework/fork.h"
#include "MqttMessage.h"
#include "answer.h"

namespace palink {

/// How a request has ended.
struct RequestEnd {
    enum class How {
        Answered,
        NoServer,    ///< no client of the broker receives it
        NotAllowed,  ///< the broker does not let this client ask
        Rejected,    ///< the broker does not take it for another reason
        Unanswered,  ///< no answer in time: whether it was carried out is unknown
        Lost         ///< the connection is lost, or the link has stopped
    };

    How how = How::Answered;
    Answer answer{};  ///< when answered

    /// Why there is no answer, for people.
    [[nodiscard]] const char* text() const;
};

struct Request {
    MqttMessage message;       ///< but for what makes a request of it
    bool survivesLoss = true;  ///< sent again on the next connection; else it ends as lost

    /// Called once, without a lock, on the thread that ended it. Must not block, nor throw.
    std::function<void(const RequestEnd&)> done;
};

/// The requests of a client that wait for their answers, docs/link-protocol.md. They are published
/// in the order in which they are added, and sent again until their time has passed. May be used
/// from any thread.
class Requests {
public:
    static constexpr std::chrono::seconds limit{10};      ///< for an answer
    static constexpr std::chrono::seconds repetition{2};  ///< how often one is sent again
    static constexpr std::size_t maxBytes = std::size_t{16} << 20U;
    static constexpr std::size_t overhead = 512;  ///< what each counts beside its payload

    /// Publishes without blocking. Throws when the broker cannot take such a message: the request
    /// ends as rejected.
    /// @return the id that `published` is called with; nothing without a connection
    using Publish = std::function<std::optional<int>(const MqttMessage&)>;

    /// @param added called after each request that is added, without a lock
    Requests(std::string answerTopic, Publish publish, std::function<void()> added);

    /// @return false when too much waits: nothing has happened
    bool add(Request request);

    /// An answer has arrived. Nothing happens when it is to no request, or to one that has ended.
    void answered(const std::string& correlation, const Answer& answer);

    /// The broker has acknowledged a publication.
    void published(int id, int reasonCode);

    /// The connection to the broker is there: what waits is published.
    void connected();

    void disconnected();

    /// Ends those that do not survive a loss.
    void lose();

    /// Waits, at most so long, for the answers to those that survive a loss.
    void waitForAnswers(std::chrono::milliseconds longest);

    /// In the child of a fork, before the destructor.
    void forgetWaiters() { pa::forgetWaiters(ended_); }

    /// Ends all, and takes no more until `open` is called.
    /// @return how many there were that survive a loss
    std::size_t close();
    void open();

    /// Ends and sends again what is due.
    void runDue();

    /// When `runDue` has something to do, by the host's monotonic clock.
    [[nodiscard]] std::optional<std::int64_t> nextDue() const;

    [[nodiscard]] std::size_t size() const;

private:
    struct Pending {
        Request request;
        std::int64_t endMS = 0;       // when its time has passed
        std::int64_t sentMS = 0;      // when it was acknowledged last
        std::optional<int> id{};      // of the publication that is not acknowledged
        bool queued = false;          // waits to be published
        bool mayHaveArrived = false;  // at a server
    };
    using Place = std::list<Pending>::iterator;
    using Ends = std::vector<std::pair<std::function<void(const RequestEnd&)>, RequestEnd>>;

    void enqueue(Pending& pending);
    void pump(Ends& ends);
    void end(Place place, RequestEnd end, Ends& ends);
    void endThoseThatMayNotSurvive(Ends& ends);
    static void call(const Ends& ends);
    static std::size_t bytesOf(const Pending& pending);

    const std::string answerTopic_;
    const std::string prefix_;  // of the correlation data
    const Publish publish_;
    const std::function<void()> added_;

    mutable std::mutex lock_;
    std::condition_variable ended_;  // a request, or the connection
    // Guarded by lock_.
    bool connected_ = false;
    bool closed_ = false;
    std::uint64_t count_ = 0;  // of all that there have been
    std::size_t bytes_ = 0;
    std::list<Pending> pending_;  // in the order in which they were added
    std::unordered_map<std::string, Place> byCorrelation_;
    std::unordered_map<int, Place> byId_;  // publications that are not acknowledged
    std::deque<std::string> queue_;        // correlations; some may have ended
};

}  // namespace palink
