// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/MqttTransport.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <set>
#include <stdexcept>
#include <utility>

#include "framework/clock.h"
#include "framework/fork.h"
#include "framework/log.h"
#include "framework/shared.h"
#include "link/mqtt/MalformedMessage.h"
#include "link/mqtt/RequestEnds.h"
#include "link/mqtt/levelPayload.h"
#include "link/mqtt/topics.h"
#include "sdk/globals.h"
#include "sdk/host/requestId.h"

namespace palink {

namespace {

constexpr int indirectLink = -2;
constexpr std::int64_t levelRepetitionMS = 2000;
constexpr std::chrono::milliseconds answerPatience{500};  // at a stop
constexpr std::size_t maxOperationBytes = std::size_t{1} << 20U;

}  // namespace

MqttTransport::MqttTransport(BrokerOptions options, std::string clientUuid,
                             Destinations destinations, std::size_t maxBytes)
    : uuid_(std::move(clientUuid)),
      answerTopic_(topics::answers("pa-" + uuid_)),
      queue_("mqtt-link", maxBytes, [](const ServerEvent& /*event*/) { return true; }),
      client_(std::move(options), "pa-" + uuid_, *this),
      requests_(
          answerTopic_, [this](const MqttMessage& message) { return client_.publish(message); },
          [this] { wakeTimer(); }),
      uploads_(
          requests_, [this] { return serverFor(&Selection::active); },
          [this] { return isAbandoned_(); }),
      view_(destinations) {}

MqttTransport::~MqttTransport() {
    stop();
}

void MqttTransport::start(ServerEventSink& sink) {
    generation_ = pa::forkGeneration();
    {
        const std::lock_guard guard(lock_);
        running_ = true;
        brokerProblem_ = "the broker " + url() + " has not answered yet";
    }
    requests_.open();
    uploads_.start();
    decoder_.passTo(sink);
    queue_.start(decoder_);
    timer_ = std::make_unique<pa::PosixThread>("mqtt-timer", [this] { runTimer(); });
    client_.start();
}

void MqttTransport::stop() {
    if (generation_ != pa::forkGeneration()) {
        // In the child of a fork: it has none of the threads, and a lock may never be given back.
        pa::forgetWaiters(due_);
        requests_.forgetWaiters();
        queue_.stop();
        timer_.reset();
        return;
    }
    {
        const std::lock_guard guard(lock_);
        if (!running_) {
            return;
        }
        running_ = false;
    }
    due_.notify_all();
    queue_.close();  // first: it may hold the client's thread back
    uploads_.stop();
    requests_.waitForAnswers(answerPatience);  // what has just been sent is answered soon
    client_.stop();
    const std::size_t unknown =
        requests_.close();  // before: who waits may hold what the sink needs
    queue_.stop();
    timer_.reset();
    if (unknown > 0) {
        handleError(2, "the link has stopped: the outcome of %zu requests is unknown", unknown);
    }
    const std::lock_guard guard(lock_);
    ViewChange ignored;
    view_.lose("the link was stopped", ignored);
    levels_.clear();
    brokerConnected_ = false;
    brokerProblem_ = "the link was stopped";
}

// -------------------------------------------------------------------------- messages

void MqttTransport::onConnected() {
    {
        const std::lock_guard guard(lock_);
        brokerConnected_ = true;
        permanent_ = false;
        client_.subscribe({topics::everyStatus, answerTopic_}, 1);
    }
    requests_.connected();
    wakeTimer();
}

void MqttTransport::onDisconnected(const std::string& reason, bool isPermanent) {
    const std::string problem = "the broker " + url() + ": " + reason;
    ViewChange change;
    bool isNew = false;
    {
        const std::lock_guard guard(lock_);
        isNew = brokerProblem_ != problem;
        brokerConnected_ = false;
        brokerProblem_ = problem;
        permanent_ = isPermanent;
        view_.lose(problem, change);
        levels_.clear();
    }
    requests_.disconnected();
    if (change.events.empty() && isNew && pa::load(debugLevel) > 0) {
        // An attempt that fails is no event: statistics() has the reason.
        debug(1, "%s", problem.c_str());
    }
    deliver(change);
    queue_.wake();
}

void MqttTransport::onPublished(int id, int reasonCode) {
    requests_.published(id, reasonCode);
}

void MqttTransport::onMessage(const ReceivedMessage& message) {
    ViewChange change;
    try {
        if (message.topic() == answerTopic_) {
            takeAnswer(message);
        } else {
            take(message, change);
        }
    } catch (const MalformedMessage& e) {
        faults_.report(message.topic(), e.what());
    }
    deliver(change);
}

void MqttTransport::take(const ReceivedMessage& message, ViewChange& change) {
    const std::string_view topic = message.topic();
    const std::lock_guard guard(lock_);
    const bool isSettled = !view_.nextDue();
    if (const auto record = topics::readRecord(topic)) {
        view_.takeRecord(*record, message.payload(), message.userProperty("generation"), change);
    } else if (const auto dstNo = topics::readStatus(topic)) {
        view_.takeStatus(*dstNo, message.payload(), change);
        apply(change);
    } else if (!takeLevel(message, change)) {
        throw MalformedMessage("no such topic");
    }
    if (isSettled && view_.nextDue()) {
        sooner_ = true;
        due_.notify_one();
    }
}

/// With lock_ held.
/// @return whether it is a level
bool MqttTransport::takeLevel(const ReceivedMessage& message, ViewChange& change) {
    const Selection* const selection = view_.selection();
    const auto element =
        selection != nullptr ? topics::readLevel(message.topic(), selection->local) : std::nullopt;
    if (element && levels_.count(*element) > 0) {
        change.events.emplace_back(LevelReading{*element, decodeLevel(message.payload())});
    }
    return element || message.topic().find("/levels/") != std::string_view::npos;
}

void MqttTransport::takeAnswer(const ReceivedMessage& message) {
    const std::string correlation = message.correlation();
    const Answer answer = decodeAnswer(message.payload());
    if (!correlation.empty()) {
        requests_.answered(correlation, answer);
    } else if (const auto type = topics::readOperationType(answer.operation);
               type && !answer.accepted) {
        queue_.add(Refusal{*type, answer.requestId, answer.reason});
    } else {
        throw MalformedMessage("no correlation data");
    }
}

/// Subscribes as the view wants it. With lock_ held.
void MqttTransport::apply(const ViewChange& change) {
    std::vector<std::string> left = change.unsubscribe;
    if (!left.empty()) {  // the connection to the server has ended
        for (const auto& [element, feed] : levels_) {
            left.push_back(topics::level(feed.dstNo, element));
        }
        levels_.clear();
        client_.unsubscribe(left);
    }
    if (!change.subscribe.empty()) {
        client_.subscribe(change.subscribe, 0);
    }
    if (change.fetchStatuses) {
        client_.subscribe({topics::everyStatus}, 1);
    }
}

void MqttTransport::deliver(ViewChange& change) {
    for (ServerEvent& event : change.events) {
        if (std::holds_alternative<Disconnected>(event)) {
            requests_.lose();
        }
        queue_.addWithoutWaking(std::move(event));
    }
}

// -------------------------------------------------------------------------- requests

bool MqttTransport::send(const pa::Operation& operation) {
    if (operation.payload.size() > maxOperationBytes) {
        throw std::length_error("an operation has at most 1 MiB");
    }
    int dstNo = 0;
    std::int64_t generation = 0;
    std::int64_t activeGeneration = 0;  // of the active server, when that is another one
    {
        const std::lock_guard guard(lock_);
        const Selection* const selection = view_.selection();
        if (!running_ || selection == nullptr) {
            return false;
        }
        dstNo = operation.destination == indirectLink ? selection->local : selection->direct;
        generation = view_.generation(dstNo);
        if (selection->active != dstNo) {
            activeGeneration = view_.generation(selection->active);
        }
    }
    if (generation == 0) {
        throw std::runtime_error("the broker knows no server " + std::to_string(dstNo));
    }
    MqttMessage message;
    message.topic = topics::operation(dstNo, operation.type);
    message.payload = operation.payload;
    message.userProperties = {{"client", uuid_}, {"generation", std::to_string(generation)}};
    if (activeGeneration != 0) {
        message.userProperties.emplace_back("activeGeneration", std::to_string(activeGeneration));
    }
    return requests_.add(
        {std::move(message), true, [this, operation, dstNo, generation](const RequestEnd& end) {
             ended(operation, dstNo, generation, end);
         }});
}

/// @param generation of the server when the operation was sent: one of another refuses it, and does
///                   not know whether that one has carried it out
void MqttTransport::ended(const pa::Operation& operation, int dstNo, std::int64_t generation,
                          const RequestEnd& end) {
    using How = RequestEnd::How;
    const std::string requestId = pa::requestIdOf(operation.type, operation.payload);
    const bool isRefused = end.how == How::Answered && !end.answer.accepted;
    bool isUnknown = end.how == How::Unanswered;
    {
        const std::lock_guard guard(lock_);
        const std::int64_t now = view_.generation(dstNo);
        isUnknown = isUnknown || (isRefused && now != 0 && now != generation);
        unanswered_ += isUnknown ? 1 : 0;
    }
    if (isUnknown) {
        handleError(
            2, "operation %s of request >%s< to server %d: %s", textOf(operation.type).c_str(),
            requestId.c_str(), dstNo,
            isRefused ? "the server has started again: the outcome is unknown" : end.text());
    } else if (isRefused) {
        queue_.add(Refusal{operation.type,
                           end.answer.requestId.empty() ? requestId : end.answer.requestId,
                           end.answer.reason});
    } else if (end.how != How::Answered && end.how != How::Lost) {
        queue_.add(Refusal{operation.type, requestId, end.text()});
    }
}

bool MqttTransport::requestRoundTrip(std::uint64_t number) {
    std::set<int> servers;
    {
        const std::lock_guard guard(lock_);
        const Selection* const selection = view_.selection();
        if (!running_ || selection == nullptr) {
            return false;
        }
        servers = {selection->direct, selection->local, selection->active};
    }
    const auto waiting = std::make_shared<std::atomic<std::size_t>>(servers.size());
    for (const int dstNo : servers) {
        MqttMessage message;
        message.topic = topics::roundTrips(dstNo);
        requests_.add({std::move(message), false, [this, number, waiting](const RequestEnd& end) {
                           const bool isBack = end.how == RequestEnd::How::Answered;
                           if (isBack && end.answer.accepted && --*waiting == 0) {
                               queue_.add(RoundTripComplete{number});
                           }
                       }});
    }
    return true;
}

UploadResult MqttTransport::upload(const std::string& localPath, const std::string& serverPath) {
    // The thread that uploads may hold what the delivery needs.
    const DeliveryQueue::Upload underWay(queue_);
    return uploads_.upload(localPath, serverPath);
}

Answer MqttTransport::control(const std::string& function, const std::string& arguments) {
    const std::optional<int> dstNo = serverFor(&Selection::direct);
    if (!dstNo) {
        throw std::runtime_error("there is no connection to the server");
    }
    RequestEnds ends(isAbandoned_);
    MqttMessage message;
    message.topic = topics::control(*dstNo, function);
    message.payload = arguments;
    if (!requests_.add({std::move(message), true, ends.taker()})) {
        throw std::runtime_error("too much waits for the server");
    }
    const std::optional<RequestEnd> end = ends.take();
    if (!end) {
        throw std::runtime_error("the wait was interrupted: the outcome is unknown");
    }
    if (end->how == RequestEnd::How::NotAllowed) {
        return {false, end->text()};
    }
    if (end->how != RequestEnd::How::Answered) {
        throw std::runtime_error(end->text());
    }
    return end->answer;
}

std::optional<int> MqttTransport::serverFor(int Selection::*use) const {
    const std::lock_guard guard(lock_);
    const Selection* const selection = view_.selection();
    return selection != nullptr ? std::optional(selection->*use) : std::nullopt;
}

bool MqttTransport::hasControl() const {
    const std::lock_guard guard(lock_);
    return view_.hasControl();
}

void MqttTransport::meterLevel(bool subscribe, int element) {
    const std::lock_guard guard(lock_);
    const Selection* const selection = view_.selection();
    if (!running_ || selection == nullptr) {
        return;
    }
    const std::string topic = topics::level(selection->local, element);
    if (subscribe) {
        client_.subscribe({topic}, 0);
        levels_[element] = {selection->local, pa::monotonicMS()};
        sooner_ = true;
        due_.notify_one();
    } else if (levels_.erase(element) > 0) {
        client_.unsubscribe({topic});
    }
}

MqttStatistics MqttTransport::statistics() const {
    MqttStatistics statistics;
    statistics.requests = requests_.size();
    statistics.queued = queue_.size();
    statistics.malformed = faults_.count();
    const std::lock_guard guard(lock_);
    const Selection* const selection = view_.selection();
    statistics.brokerConnected = brokerConnected_;
    statistics.problem = brokerConnected_ ? view_.problem() : brokerProblem_;
    statistics.permanent = permanent_;
    statistics.dstNo = selection != nullptr ? selection->direct : 0;
    statistics.generation = view_.generation(statistics.dstNo);
    statistics.synced = view_.isSynced();
    statistics.sinceMS = view_.sinceMS();
    statistics.unanswered = unanswered_;
    statistics.outdated = view_.outdated();
    statistics.fetches = view_.fetches();
    return statistics;
}

// -------------------------------------------------------------------------- what is due

void MqttTransport::wakeTimer() {
    const std::lock_guard guard(lock_);
    sooner_ = true;
    due_.notify_one();
}

void MqttTransport::runTimer() {
    constexpr std::int64_t longestWaitMS = 20;  // the host's clock may be replaced, or jump
    std::unique_lock guard(lock_);
    while (running_) {
        sooner_ = false;
        guard.unlock();
        const std::optional<std::int64_t> next = runDue();
        guard.lock();
        const auto isWoken = [this] { return sooner_ || !running_; };
        if (next) {
            const std::int64_t left = *next - pa::monotonicMS();
            due_.wait_for(
                guard, std::chrono::milliseconds(std::clamp<std::int64_t>(left, 1, longestWaitMS)),
                isWoken);
        } else {
            due_.wait(guard, isWoken);
        }
    }
}

/// @return when something is due next
std::optional<std::int64_t> MqttTransport::runDue() {
    requests_.runDue();
    std::optional<std::int64_t> next = requests_.nextDue();
    const std::lock_guard guard(lock_);
    if (client_.isSubscribing()) {
        view_.awaitSubscription();
    }
    apply(view_.runDue());
    for (const auto& due : {view_.nextDue(), repeatLevels()}) {
        next = due ? std::min(next.value_or(*due), *due) : next;
    }
    return next;
}

/// Asks for the level feeds that are due. With lock_ held.
/// @return when the next one is
std::optional<std::int64_t> MqttTransport::repeatLevels() {
    const std::int64_t now = pa::monotonicMS();
    std::optional<std::int64_t> next;
    for (auto& [element, feed] : levels_) {
        if (feed.askMS <= now) {
            MqttMessage message;
            message.topic = topics::levelRequest(feed.dstNo, element);
            message.qos = 0;
            client_.publish(message);
            feed.askMS = now + levelRepetitionMS;
        }
        next = std::min(next.value_or(feed.askMS), feed.askMS);
    }
    return next;
}

}  // namespace palink
