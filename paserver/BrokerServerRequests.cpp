// SPDX-License-Identifier: Apache-2.0
/// The requests of clients.

#include <algorithm>
#include <iterator>

#include "client/shortened.h"
#include "framework/clock.h"
#include "framework/log.h"
#include "link/mqtt/topics.h"
#include "link/mqtt/uploadMessages.h"
#include "paserver/BrokerServer.h"
#include "paserver/runControl.h"
#include "sdk/host/requestId.h"
#include "simserver/protocol/Refused.h"

namespace paserver {

namespace op = pa::operations;
using palink::Answer;
using simserver::Refused;

namespace {

/// @param reason may quote what was sent: the end of a long one is left out
Answer refusal(const std::string& reason, const std::string& requestId = "") {
    constexpr std::size_t most = 500;  // characters
    constexpr std::size_t longestId = 255;
    return {false, paclient::shortened(reason, most),
            requestId.size() <= longestId ? requestId : "", ""};
}

/// The outcome is unknown: the server for which the operation was may have carried it out.
constexpr const char* startedAgain = "the server has started again meanwhile";

Answer accepted(const std::string& result = "") {
    return {true, "", "", result};
}

/// A standby has these carried out by the active server, from which clients receive their effects.
bool concernsAnnouncements(const pa::OperationType& type) {
    constexpr pa::OperationType types[] = {
        op::playMessage,     op::cancelMessage,    op::putSchedule,
        op::deleteSchedule,  op::startRecording,   op::stopRecording,
        op::deleteRecording, op::previewRecording, op::retrieveAudio};
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

/// Whether a request that is sent again must not be carried out again. The others may be.
bool countsOnce(const ClientRequest& request) {
    return request.kind == ClientRequest::Kind::Operation ||
           request.kind == ClientRequest::Kind::Control;
}

}  // namespace

/// What can be asked of this server's own side. Of the thread that carries out the requests.
class BrokerServer::Control final : public simserver::SimControl {
public:
    explicit Control(BrokerServer& server) : server_(server) {}

    void setTrigger(int triggerId, bool active) override { sim().setTrigger(triggerId, active); }
    void setSelector(int selectorId, int state) override { sim().setSelector(selectorId, state); }
    void lockSource(int sourceId, const std::string& client) override {
        sim().lockSource(sourceId, client);
    }
    void unlockSource(int sourceId, const std::string& client) override {
        sim().unlockSource(sourceId, client);
    }
    void ignoreRenewals(bool on) override { sim().ignoreRenewals(on); }
    void ignoreRequests(bool on) override { sim().ignoreRequests(on); }
    simserver::IgnoredOperations ignored() const override { return sim().ignored(); }
    simserver::Contents contents() const override { return sim().contents(); }
    void dropClient() override { server_.rejoin_ = Rejoin::SameGeneration; }
    void restart() override {
        server_.uploads_.reset();
        server_.meters_.clear();
        server_.simulation_.reset();  // before the new one: it holds the state folder
        server_.simulation_ = std::make_unique<simserver::SimServer>(server_.settings_.station,
                                                                     server_.settings_.simulation);
        server_.uploads_ =
            std::make_unique<IncomingUploads>(sim().uploads(), server_.counters_.uploads);
        server_.rejoin_ = Rejoin::NewGeneration;
        ++server_.counters_.restarts;
    }

private:
    simserver::SimServer& sim() const { return *server_.simulation_; }

    BrokerServer& server_;
};

void BrokerServer::takeRequests() {
    constexpr int most = 100;  // then what they have changed is published
    for (int count = 0; count < most && rejoin_ == Rejoin::No && simulation_; ++count) {
        const auto request = requests_.take();
        if (!request) {
            return;
        }
        static_assert(static_cast<std::size_t>(ClientRequest::Kind::Control) + 1 ==
                      std::tuple_size_v<decltype(counters_.requests)>);
        ++counters_.requests[static_cast<std::size_t>(request->kind)];
        const bool isLate = request->deadlineMS && *request->deadlineMS < pa::monotonicMS();
        if (isLate) {
            ++counters_.late;
        } else {
            carryOut(*request);
        }
    }
    wake_.wake();  // there may be more
}

void BrokerServer::carryOut(const ClientRequest& request) {
    const std::int64_t now = pa::monotonicMS();
    if (request.kind == ClientRequest::Kind::Level) {
        feedMeter(request.element);
        return;
    }
    if (countsOnce(request)) {
        if (const std::string* const earlier = answers_.find(request, now)) {
            ++counters_.repeated;
            answer(request, *earlier);
            return;
        }
        if (answers_.isFull()) {
            ++counters_.dropped;
            faults_.report(request.responseTopic, "the request is dropped: too many in a minute");
            return;
        }
    }
    if (const auto result = resultOf(request)) {
        if (request.kind == ClientRequest::Kind::Operation) {
            count(request, result->accepted ? ServerCounters::accepted : ServerCounters::refused);
        }
        const std::string payload = palink::encodeAnswer(*result);
        if (countsOnce(request)) {
            answers_.put(request, payload, now);
        }
        answer(request, payload);
    }
}

/// After everything that it has changed.
void BrokerServer::answer(const ClientRequest& request, const std::string& payload) {
    palink::MqttMessage message;
    message.topic = request.responseTopic;
    message.payload = payload;
    message.correlation = request.correlation;
    publications_.add(std::move(message));
    counters_.answers.add(std::chrono::microseconds(pa::monotonicUS() - request.arrivedUS));
}

void BrokerServer::count(const ClientRequest& request, ServerCounters::OperationOutcome outcome) {
    counters_.operations[outcome].add(request.operation);
}

/// @return nothing when there is to be no answer
std::optional<Answer> BrokerServer::resultOf(const ClientRequest& request) try {
    const std::int64_t now = pa::monotonicMS();
    switch (request.kind) {
        case ClientRequest::Kind::Operation:
            return operate(request);
        case ClientRequest::Kind::RoundTrip:
            simulation_->finishReports();
            return accepted();
        case ClientRequest::Kind::UploadBegin:
            return accepted(palink::encodeUploadProgress(
                uploads_->begin(request.upload, palink::decodeUploadBegin(request.payload), now)));
        case ClientRequest::Kind::UploadData:
            return accepted(palink::encodeUploadProgress(
                uploads_->add(request.upload, request.offset, request.payload, now)));
        case ClientRequest::Kind::Control: {
            Control control(*this);
            return accepted(runControl(control, request.function, request.payload));
        }
        case ClientRequest::Kind::Level:
            break;
    }
    return std::nullopt;
} catch (const Refused& refused) {
    return refusal(refused.what());
} catch (const palink::MalformedMessage& fault) {
    return refusal(std::string("the request is malformed: ") + fault.what());
} catch (const std::exception& error) {
    if (simulation_ == nullptr) {
        fail(std::string("the server does not start again: ") + error.what());
    }
    return refusal(error.what());
}

std::optional<Answer> BrokerServer::operate(const ClientRequest& request) {
    if (simulation_->ignored().requests) {
        count(request, ServerCounters::ignored);
        return std::nullopt;
    }
    const std::string own = std::to_string(generation_);
    if (request.generation != own) {
        return refusal(startedAgain);
    }
    if (concernsAnnouncements(request.operation)) {
        if (reported_ == palink::ServerRole::Standby) {
            relay(request);
            count(request, ServerCounters::relayed);
            return std::nullopt;
        }
        if (request.activeGeneration.value_or(own) != own) {
            return refusal(startedAgain);  // it was for another server, which may have taken it
        }
    }
    notePreview(request);
    constexpr int direct = -1;
    const auto refused = simulation_->operate({direct, request.operation, 1, request.payload});
    return refused ? refusal(refused->reason, refused->requestId) : accepted();
}

/// Notes who is to know when a preview fails after it was accepted.
void BrokerServer::notePreview(const ClientRequest& request) {
    constexpr std::size_t most = 256;
    if (request.operation == op::retrieveAudio) {
        const std::lock_guard guard(lock_);
        previews_.resize(std::min(previews_.size(), most - 1));
        previews_.emplace_front(pa::requestIdOf(request.operation, request.payload),
                                request.responseTopic);
    }
}

/// An operation has failed after it was accepted. Called by a thread of the simulated server.
void BrokerServer::reportFailure(const palink::Refusal& failure) {
    handleError(2, "request %s: %s", failure.requestId.c_str(), failure.reason.c_str());
    Answer late = refusal(failure.reason, failure.requestId);
    late.operation = textOf(failure.operation);
    std::string topic;
    {
        const std::lock_guard guard(lock_);
        const auto noted =
            std::find_if(previews_.begin(), previews_.end(),
                         [&](const auto& preview) { return preview.first == failure.requestId; });
        if (noted == previews_.end()) {
            return;
        }
        topic = std::move(noted->second);
        previews_.erase(noted);
    }
    publications_.add({topic, palink::encodeAnswer(late)});
}

/// Has the active server carry it out, which answers the client. That server refuses it unless it
/// is the one on whose records the client acts: a schedule of its own has maybe the same number.
/// @throws Refused when there is none, or the client takes this one for it
void BrokerServer::relay(const ClientRequest& request) {
    const auto active = role_.active();
    if (!active) {
        throw Refused("no server is active");
    }
    if (!request.activeGeneration) {
        throw Refused("server " + std::to_string(active->dstNo) + " is active");
    }
    constexpr std::int64_t perSecond = 1000;
    const std::int64_t now = pa::monotonicMS();
    const std::int64_t leftMS = request.deadlineMS.value_or(now + 10 * perSecond) - now;
    palink::MqttMessage message;
    message.topic = palink::topics::operation(active->dstNo, request.operation);
    message.payload = request.payload;
    message.responseTopic = request.responseTopic;
    message.correlation = request.correlation;
    message.expirySeconds = static_cast<std::uint32_t>((leftMS + perSecond - 1) / perSecond);
    message.userProperties = {{"client", request.client},
                              {"generation", *request.activeGeneration}};
    publications_.add(std::move(message));
}

// ------------------------------------------------------------------------------------ level meters

void BrokerServer::feedMeter(int element) {
    constexpr std::size_t most = 256;
    if (meters_.count(element) == 0 && meters_.size() >= most) {
        faults_.report(palink::topics::levelRequest(dstNo_, element), "too many level meters");
        return;
    }
    meters_[element] = pa::monotonicMS() + meterMS;
    simulation_->meterLevel(true, element);
}

void BrokerServer::expireMeters() {
    const std::int64_t now = pa::monotonicMS();
    for (auto it = meters_.begin(); it != meters_.end();) {
        if (it->second <= now) {
            simulation_->meterLevel(false, it->first);
            it = meters_.erase(it);
        } else {
            ++it;
        }
    }
}

}  // namespace paserver
