#include "simserver/SimServer.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "framework/clock.h"
#include "simserver/Records.h"
#include "simserver/Refused.h"
#include "simserver/RequestDecoder.h"

namespace simserver {

namespace {

using palink::RecordKind;

constexpr int announcementClass = 92;
constexpr int playNumber = 17;
constexpr int cancelNumber = 18;

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
    : station_(std::move(station)),
      options_(checked(std::move(options))),
      spool_(options_.spool),
      repertoire_(station_, spool_),
      epoch_(wallClock()),
      startMS_(monotonicMS()),
      engine_(idsOf(station_.zones), *this),
      activity_(station_) {
    if (!options_.manualTime) {
        clock_ = std::make_unique<PosixThread>("sim-clock", [this] { runClock(); });
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
    playUntil(clockTime());
    client_ = &client;
    tellAll();
}

void SimServer::disconnectClient() {
    const std::lock_guard guard(lock_);
    client_ = nullptr;
}

void SimServer::meterLevel(bool /*subscribe*/, int /*element*/) {}

palink::UploadResult SimServer::storeFile(const std::string& localPath,
                                          const std::string& serverPath) {
    return spool_.store(localPath, serverPath);  // a long copy does not hold up what plays
}

// ------------------------------------------------------------------------------------ operations

void SimServer::handleOperation(const Operation& operation) {
    const std::lock_guard guard(lock_);
    playUntil(clockTime());
    std::string requestId;
    try {
        if (operation.operationClass == announcementClass &&
            operation.operationNumber == playNumber) {
            handlePlay(operation.payload, requestId);
        } else if (operation.operationClass == announcementClass &&
                   operation.operationNumber == cancelNumber) {
            handleCancel(operation.payload, requestId);
        } else {
            throw Refused("this operation is not simulated");
        }
    } catch (const Refused& refused) {
        tell(palink::Refusal{operation.operationClass, operation.operationNumber, requestId,
                             refused.what()});
    }
    tellActivity();
    playUntil(now_);  // what lasts no time at all
    changed_.notify_all();
}

void SimServer::handlePlay(const std::string& payload, std::string& requestId) {
    PlayRequest request;
    try {
        decodePlay(payload, request);
    } catch (const Refused&) {
        requestId = request.id;
        throw;
    }
    if (request.id.empty()) {
        request.id = newRequestId();
    }
    requestId = request.id;
    if (engine_.isActive(request.id)) {
        throw Refused("request \"" + request.id + "\" is active already");
    }
    for (const RequestPart& part : request.parts) {
        repertoire_.check(part);
    }
    engine_.play(request, now_);
}

void SimServer::handleCancel(const std::string& payload, std::string& requestId) {
    const CancelRequest request = decodeCancel(payload);
    requestId = request.id;
    if (!engine_.cancel(request, now_)) {
        throw Refused(request.type == nullptr ? "no announcement \"" + request.id + "\" is active"
                                              : std::string("no announcement of type ") +
                                                    request.type->name + " is active");
    }
}

/// An id for a request that comes without one.
std::string SimServer::newRequestId() {
    std::string id;
    do {
        id = "server-" + std::to_string(++lastOwnId_);
    } while (engine_.isActive(id));
    return id;
}

// ------------------------------------------------------------------------------------------ time

void SimServer::advance(SimTime simulated) {
    const std::lock_guard guard(lock_);
    playUntil(now_ + std::clamp(simulated, SimTime{0}, longest));
}

/// Simulated time by the clock; with manual time what has been let pass.
SimTime SimServer::clockTime() const {
    if (options_.manualTime) {
        return now_;
    }
    const double passed = static_cast<double>(monotonicMS() - startMS_) * options_.speed;
    return SimTime(
        static_cast<SimTime::rep>(std::min(passed, static_cast<double>(longest.count()))));
}

void SimServer::playUntil(SimTime time) {
    for (auto due = engine_.nextDue(); due && *due <= time; due = engine_.nextDue()) {
        now_ = *due;
        engine_.playDue(now_);
        tellActivity();
    }
    now_ = std::max(now_, time);
}

void SimServer::runClock() {
    constexpr double shortestPause = 1.0;      // ms
    constexpr double longestPause = 60'000.0;  // ms
    std::unique_lock guard(lock_);
    while (!stopping_) {
        playUntil(clockTime());
        const std::optional<SimTime> due = engine_.nextDue();
        if (!due) {
            changed_.wait(guard);
            continue;
        }
        const double pause = static_cast<double>((*due - now_).count()) / options_.speed;
        changed_.wait_for(guard, std::chrono::duration<double, std::milli>(
                                     std::clamp(std::ceil(pause), shortestPause, longestPause)));
    }
}

// --------------------------------------------------------------------- what the client is told

void SimServer::tell(palink::ServerEvent event) {
    if (client_ != nullptr) {
        client_->deliver(std::move(event));
    }
}

void SimServer::tellAll() {
    palink::Connected connected{station_.dstNo, station_.dstNo, false, {}};
    connected.serverInfo.set("name", station_.name);
    connected.serverInfo.set("software", "simulated audio server");
    tell(std::move(connected));

    const auto tellRecord = [this](RecordKind kind, int key, RecordFields fields) {
        tell(palink::Record{station_.dstNo, kind, key, std::move(fields)});
    };
    for (const Source& source : station_.sources) {
        tellRecord(RecordKind::Source, source.id, sourceRecord(source, station_.dstNo));
    }
    for (const Source& source : station_.sources) {
        tellRecord(RecordKind::AttachedZones, source.id, attachedZonesRecord(source));
    }
    for (palink::Record& record : activity_.all()) {
        tell(std::move(record));
    }
    for (const Voice& voice : station_.voices) {
        tellRecord(RecordKind::TtsPort, voice.port, voiceRecord(voice));
    }
    for (const auto& [key, part] : engine_.parts()) {
        tellRecord(RecordKind::Announcement, key, announcementRecord(part, epoch_));
    }
    tell(palink::InitialSetComplete{});
}

void SimServer::tellActivity() {
    for (palink::Record& record : activity_.update(engine_)) {
        tell(std::move(record));
    }
}

std::optional<SimTime> SimServer::lengthOf(const RequestPart& part) {
    return repertoire_.lengthOf(part);
}

void SimServer::partChanged(const PlayPart& part) {
    tell(palink::Record{station_.dstNo, RecordKind::Announcement, part.key,
                        announcementRecord(part, epoch_)});
    if (part.isOver()) {
        tell(palink::Withdrawal{station_.dstNo, static_cast<int>(RecordKind::Announcement),
                                part.key});
    }
}

}  // namespace simserver
