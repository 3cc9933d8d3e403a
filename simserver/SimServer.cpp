// SPDX-License-Identifier: Apache-2.0
#include "simserver/SimServer.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "simserver/protocol/Refused.h"

namespace simserver {

namespace op = pa::operations;

SimServer::SimServer(Station station, const Options& options)
    : context_(std::move(station), options),
      playback_(context_),
      live_(playback_),
      sinks_(context_, playback_.engine()),
      triggers_(context_, live_),
      sources_(context_, live_, triggers_),
      meters_(context_, playback_.engine()),
      recordings_(context_, playback_),
      schedules_(context_, playback_),
      timed_{&playback_, &sinks_, &triggers_, &meters_, &recordings_, &schedules_},
      speech_(context_, lock_) {
    if (!options.manualTime) {
        clockThread_ = std::make_unique<pa::PosixThread>("sim-clock", [this] { runClock(); });
    }
}

SimServer::~SimServer() {
    {
        const std::lock_guard guard(lock_);
        stopping_ = true;
    }
    changed_.notify_all();
    clockThread_.reset();
}

// ------------------------------------------------------------------------------------ connection

void SimServer::connectClient(palink::ServerEventSink& client) {
    const std::lock_guard guard(lock_);
    catchUp();
    context_.publisher.connect(client);
    publishAll();
}

void SimServer::disconnectClient() {
    const std::lock_guard guard(lock_);
    context_.publisher.disconnect();
    meters_.clear();
}

void SimServer::dropClient() {
    const std::lock_guard guard(lock_);
    context_.publisher.event(palink::Disconnected{"the server has dropped it"});
    context_.publisher.disconnect();
    meters_.clear();
}

/// Everything that the server holds, for a new client.
void SimServer::publishAll() {
    const Station& station = context_.station;
    palink::Connected connected{station.dstNo, station.dstNo, false, {}};
    connected.serverInfo.set("name", station.name);
    connected.serverInfo.set("software", "simulated audio server");
    connected.serverInfo.set("timeZone", station.timeZone);
    const auto epoch = std::chrono::seconds(context_.clock.epoch());
    const std::chrono::milliseconds now = epoch + context_.clock.target();
    connected.serverInfo.set("clock", std::to_string(now / std::chrono::seconds(1)));
    connected.serverInfo.set("clockMS", std::to_string(now.count()));
    connected.serverInfo.set("speed", context_.clock.speedText());
    context_.publisher.event(std::move(connected));
    sources_.publishAll();
    sinks_.publishAll();
    triggers_.publishAll();
    speech_.publishAll();
    schedules_.publishAll();
    playback_.publishAll();
    recordings_.publishAll();
    context_.publisher.event(palink::InitialSetComplete{});
}

// ------------------------------------------------------------------------------------ operations

namespace {

/// Has a part of the server perform an operation.
template <auto part, auto function>
void performBy(SimServer& server, const std::string& payload) {
    ((server.*part).*function)(payload);
}

}  // namespace

struct SimServer::OperationRow {
    pa::OperationType type;
    void (*perform)(SimServer& server, const std::string& payload);
};

const SimServer::OperationRow SimServer::operations[] = {
    {op::attachSource, performBy<&SimServer::sources_, &Sources::lock>},
    {op::detachSource, performBy<&SimServer::sources_, &Sources::unlock>},
    {op::attachZones, performBy<&SimServer::sources_, &Sources::attachZones>},
    {op::detachZones, performBy<&SimServer::sources_, &Sources::detachZones>},
    {op::activateTrigger, performBy<&SimServer::triggers_, &Triggers::activate>},
    {op::deactivateTrigger, performBy<&SimServer::triggers_, &Triggers::deactivate>},
    {op::renewLock, performBy<&SimServer::sources_, &Sources::extendLock>},
    {op::setSinkGain, performBy<&SimServer::sinks_, &Sinks::setGain>},
    {op::setSourceGain, performBy<&SimServer::sources_, &Sources::setGain>},
    {op::setMonitoring, performBy<&SimServer::sinks_, &Sinks::setMonitoring>},
    {op::playMessage, performBy<&SimServer::playback_, &Playback::play>},
    {op::cancelMessage, performBy<&SimServer::playback_, &Playback::cancel>},
    {op::putSchedule, performBy<&SimServer::schedules_, &Schedules::put>},
    {op::deleteSchedule, performBy<&SimServer::schedules_, &Schedules::remove>},
    {op::resetSink, performBy<&SimServer::sinks_, &Sinks::reset>},
    {op::startRecording, performBy<&SimServer::recordings_, &Recordings::start>},
    {op::stopRecording, performBy<&SimServer::recordings_, &Recordings::stop>},
    {op::deleteRecording, performBy<&SimServer::recordings_, &Recordings::remove>},
    {op::previewRecording, performBy<&SimServer::recordings_, &Recordings::preview>},
    {op::retrieveAudio, performBy<&SimServer::speech_, &Speech::retrieve>},
};

/// An operation that is refused has changed nothing.
void SimServer::perform(const pa::Operation& operation) {
    catchUp();
    const auto* const row = std::find_if(
        std::begin(operations), std::end(operations),
        [&operation](const OperationRow& candidate) { return candidate.type == operation.type; });
    if (row == std::end(operations)) {
        throw Refused("this operation is not simulated");
    }
    row->perform(*this, operation.payload);
    settle();
}

std::optional<palink::Refusal> SimServer::operate(const pa::Operation& operation) {
    const std::lock_guard guard(lock_);
    try {
        perform(operation);
        return std::nullopt;
    } catch (const Refused& refused) {
        return palink::Refusal{operation.type, refused.requestId(), refused.what()};
    }
}

void SimServer::handleOperation(const pa::Operation& operation) {
    if (ignored().requests) {
        return;
    }
    if (auto refusal = operate(operation)) {
        const std::lock_guard guard(lock_);
        context_.publisher.event(std::move(*refusal));
    }
}

void SimServer::meterLevel(bool subscribe, int element) {
    const std::lock_guard guard(lock_);
    if (requestsIgnored_) {
        return;
    }
    catchUp();
    meters_.subscribe(subscribe, element);
    changed_.notify_all();
}

palink::UploadResult SimServer::storeFile(const std::string& localPath,
                                          const std::string& serverPath) {
    return context_.uploads.store(localPath, serverPath);  // without the lock: it may take long
}

// --------------------------------------------------------------------------- the server's own side

void SimServer::setTrigger(int triggerId, bool active) {
    const std::lock_guard guard(lock_);
    catchUp();
    triggers_.setTrigger(triggerId, active);
    settle();
}

void SimServer::setSelector(int selectorId, int state) {
    const std::lock_guard guard(lock_);
    catchUp();
    triggers_.setSelector(selectorId, state);
    settle();
}

void SimServer::lockSource(int sourceId, const std::string& client) {
    const std::lock_guard guard(lock_);
    perform({-1, op::attachSource, 1, std::to_string(sourceId) + "," + client});
}

void SimServer::unlockSource(int sourceId, const std::string& client) {
    const std::lock_guard guard(lock_);
    perform({-1, op::detachSource, 1, std::to_string(sourceId) + "," + client});
}

void SimServer::ignoreRenewals(bool on) {
    const std::lock_guard guard(lock_);
    sources_.ignoreRenewals(on);
}

void SimServer::ignoreRequests(bool on) {
    const std::lock_guard guard(lock_);
    requestsIgnored_ = on;
}

IgnoredOperations SimServer::ignored() const {
    const std::lock_guard guard(lock_);
    return {sources_.ignoresRenewals(), requestsIgnored_};
}

Contents SimServer::contents() const {
    return {context_.station.dictionary, context_.content.recordings()};  // they do not change
}

std::int64_t SimServer::clockMS() const {
    const std::lock_guard guard(lock_);
    constexpr std::int64_t perSecond = 1000;
    return context_.clock.epoch() * perSecond + context_.clock.target().count();
}

void SimServer::waitUntilSpoken() {
    speech_.waitUntilIdle();
}

}  // namespace simserver
