#include "simserver/SimServer.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "framework/clock.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/RequestDecoder.h"

namespace simserver {

namespace {

Options checked(Options options) {
    if (!std::isfinite(options.speed) || options.speed <= 0.0) {
        throw std::invalid_argument("the speed of the simulated server must be above 0");
    }
    return options;
}

std::vector<std::string> idsOf(const std::vector<Zone>& zones) {
    std::vector<std::string> ids(zones.size());
    std::transform(zones.begin(), zones.end(), ids.begin(),
                   [](const Zone& zone) { return zone.id; });
    return ids;
}

}  // namespace

SimServer::SimServer(Station station, Options options)
    : options_(checked(std::move(options))),
      spool_(options_.spool),
      epoch_(options_.clock.value_or(pa::wallClock())),
      startMS_(pa::monotonicMS()),
      station_(std::move(station)),
      repertoire_(station_, spool_),
      engine_(idsOf(station_.zones), *this),
      activity_(station_),
      live_(engine_),
      recorder_(station_, spool_),
      schedules_(options_.state, station_.timeZone, epoch_),
      studio_(station_, spool_, [this](const Preview& preview) {
          const std::lock_guard guard(lock_);
          tellPreview(preview);
      }) {
    if (!options_.manualTime) {
        clock_ = std::make_unique<pa::PosixThread>("sim-clock", [this] { runClock(); });
    }
}

SimServer::~SimServer() {
    {
        const std::lock_guard guard(lock_);
        stopping_ = true;
    }
    changed_.notify_all();
    clock_.reset();
}

void SimServer::connectClient(palink::ServerEventSink& client) {
    const std::lock_guard guard(lock_);
    catchUp();
    client_ = &client;
    tellAll();
}

void SimServer::disconnectClient() {
    const std::lock_guard guard(lock_);
    client_ = nullptr;
    meters_.clear();
}

void SimServer::dropClient() {
    const std::lock_guard guard(lock_);
    tell(palink::Disconnected{"the server has dropped it"});
    client_ = nullptr;
    meters_.clear();
}

void SimServer::meterLevel(bool subscribe, int element) {
    const std::lock_guard guard(lock_);
    if (requestsWithheld_) {
        return;
    }
    catchUp();
    meters_.subscribe(subscribe, element, meterTimeMS());
    changed_.notify_all();
}

palink::UploadResult SimServer::storeFile(const std::string& localPath,
                                          const std::string& serverPath) {
    return spool_.store(localPath, serverPath);  // a long copy does not hold up what plays
}

// ------------------------------------------------------------------------------------ operations

const SimServer::OperationRow SimServer::operations[] = {
    {pa::operations::attachSource, &SimServer::attachSource},
    {pa::operations::detachSource, &SimServer::detachSource},
    {pa::operations::attachZones, &SimServer::attachZones},
    {pa::operations::detachZones, &SimServer::detachZones},
    {pa::operations::activateTrigger, &SimServer::activateSoftwareTrigger},
    {pa::operations::deactivateTrigger, &SimServer::deactivateSoftwareTrigger},
    {pa::operations::renewLock, &SimServer::extendLock},
    {pa::operations::setSinkGain, &SimServer::setSinkGain},
    {pa::operations::setSourceGain, &SimServer::setSourceGain},
    {pa::operations::setMonitoring, &SimServer::setMonitoring},
    {pa::operations::playMessage, &SimServer::play},
    {pa::operations::cancelMessage, &SimServer::cancel},
    {pa::operations::putSchedule, &SimServer::putSchedule},
    {pa::operations::deleteSchedule, &SimServer::deleteSchedule},
    {pa::operations::resetSink, &SimServer::resetSink},
    {pa::operations::startRecording, &SimServer::startRecording},
    {pa::operations::stopRecording, &SimServer::stopRecording},
    {pa::operations::deleteRecording, &SimServer::deleteRecording},
    {pa::operations::previewRecording, &SimServer::previewRecording},
    {pa::operations::retrieveAudio, &SimServer::retrieveAudio},
};

void SimServer::withholdRequests(bool on) {
    const std::lock_guard guard(lock_);
    requestsWithheld_ = on;
}

void SimServer::handleOperation(const pa::Operation& operation) {
    const std::lock_guard guard(lock_);
    if (requestsWithheld_) {
        return;
    }
    try {
        perform(operation);
    } catch (const Refused& refused) {
        tell(palink::Refusal{operation.type, requestId_, refused.what()});
    }
}

std::optional<std::string> SimServer::operateAsOther(const pa::Operation& operation) {
    const std::lock_guard guard(lock_);
    try {
        perform(operation);
        return std::nullopt;
    } catch (const Refused& refused) {
        return refused.what();
    }
}

/// An operation that is refused has changed nothing.
void SimServer::perform(const pa::Operation& operation) {
    catchUp();
    requestId_.clear();
    const auto* const row = std::find_if(
        std::begin(operations), std::end(operations),
        [&operation](const OperationRow& candidate) { return candidate.type == operation.type; });
    if (row == std::end(operations)) {
        throw Refused("this operation is not simulated");
    }
    (this->*row->perform)(operation.payload);
    settle();
}

void SimServer::play(const std::string& payload) {
    PlayRequest request;
    try {
        decodePlay(payload, request);
    } catch (const Refused&) {
        requestId_ = request.id;
        throw;
    }
    if (request.id.empty()) {
        request.id = newRequestId();
    }
    requestId_ = request.id;
    if (engine_.isActive(request.id)) {
        throw Refused("request \"" + request.id + "\" is active already");
    }
    for (const RequestPart& part : request.parts) {
        repertoire_.check(part);
    }
    engine_.play(request, now_);
}

void SimServer::cancel(const std::string& payload) {
    const CancelRequest request = decodeCancel(payload);
    requestId_ = request.id;
    if (!engine_.cancel(request, now_)) {
        throw Refused(request.type == nullptr ? "no announcement \"" + request.id + "\" is active"
                                              : std::string("no announcement of type ") +
                                                    request.type->name + " is active");
    }
}

std::optional<SimTime> SimServer::lengthOf(const RequestPart& part) {
    if (!part.whyNot.empty()) {
        throw Refused(part.whyNot);
    }
    return repertoire_.lengthOf(part);
}

/// An id for a request that comes without one.
std::string SimServer::newRequestId(const std::string& kind) {
    std::string id;
    do {
        id = kind + "-" + std::to_string(++lastOwnId_);
    } while (engine_.isActive(id));
    return id;
}

}  // namespace simserver
