#include "client/confirmedOperations.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>

#include "client/ChangeStream.h"
#include "client/confirmed.h"
#include "client/names.h"
#include "framework/posixThread.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace paclient {

namespace {

namespace operations = pa::operations;
using State = Confirmation::State;

/// For a request that the server answers only when it refuses it.
constexpr std::chrono::milliseconds refusalLimit = std::chrono::seconds(1);

/// The resource with this number as it is now; the one that is given when it is withdrawn.
template <class Record>
Record current(const Record& given, std::vector<Record> all) {
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Record& record) { return record.id == given.id; });
    return found == all.end() ? given : *found;
}

PaSink now(const PaSink& sink) {
    return current(sink, gPaController.getPaSinks());
}

PaSource now(const PaSource& source) {
    return current(source, gPaController.getPaSources());
}

/// A level in the digits that are sent; a zero has no sign.
std::string sentDigits(double level) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", level + 0.0);
    return text;
}

Wait shortened(const Wait& wait) {
    Wait result = wait;
    result.limit = std::min(wait.limit, refusalLimit);
    return result;
}

/// @param isFlagged whether the server is asked for more than the level
Confirmation confirmGain(ConfirmedRequest request, bool isFlagged, const Wait& wait) {
    if (!isFlagged || !request.holds()) {
        return confirm(request, wait);
    }
    const Confirmation answer = awaitRefusal(request, shortened(wait));
    return answer.state == State::TimedOut ? Confirmation{State::Done} : answer;
}

/// Calls a function that itself waits for the server, on a thread of its own, so that the caller
/// can stop waiting. The function must use nothing that ends before the process.
void callInBackground(const char* name, std::function<void()> function) {
    pa::PosixThread(name, std::move(function)).detach();
}

std::vector<std::string> attachedZones(const PaSource& source) {
    std::vector<std::string> ids;
    gPaController.getAttachedPaZoneList(source.id, &ids);
    return ids;
}

}  // namespace

// ---------------------------------------------------------------------------------------- sinks

Confirmation setGain(const PaSink& sink, double level, bool persistent, bool delayPersistence,
                     const Wait& wait) {
    if (sink.type < PaSink::HIGH_IMPEDANCE_SPEAKER_BUS ||
        sink.type > PaSink::LINE_LEVEL_AUDIO_OUTPUT) {
        throw std::invalid_argument("sink " + std::to_string(sink.id) +
                                    " has no gain to set: it is a " + nameOf(sink.type));
    }
    ConfirmedRequest request;
    request.operations = {operations::setSinkGain};
    request.send = [&] { sink.setGain(Gain(level), persistent, delayPersistence); };
    request.holds = [&] {
        return sentDigits(now(sink).outputGain.getLevel()) == sentDigits(level);
    };
    return confirmGain(request, persistent || delayPersistence, wait);
}

Confirmation setMonitoring(const PaSink& sink, bool enable, const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {operations::setMonitoring};
    request.send = [&] { sink.setPAMonitoring(enable); };
    request.holds = [&] { return now(sink).getPAMonitoring() == enable; };
    return confirm(request, wait);
}

Confirmation reset(const PaSink& sink, bool untilBack, const Wait& wait) {
    if (sink.type != PaSink::ZENTRIQ_KPL2 && sink.type != PaSink::ZENTRIQ_RMX4) {
        throw std::invalid_argument("sink " + std::to_string(sink.id) +
                                    " cannot be reset: it is a " + nameOf(sink.type));
    }
    const bool wasInactive = sink.healthState == PaSink::INACTIVE;
    bool isInactive = wasInactive;
    bool isBack = false;
    ConfirmedRequest request;
    request.operations = {operations::resetSink};
    request.send = [&] { sink.reset(); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<PaSink>>(&change);
        if (update != nullptr && update->record.id == sink.id) {
            const bool isNow = update->record.healthState == PaSink::INACTIVE;
            isBack = isBack || (isInactive && !isNow);
            isInactive = isInactive || isNow;
        }
    };
    request.holds = [&] { return untilBack || wasInactive ? isBack : isInactive; };
    return confirm(request, wait);
}

// -------------------------------------------------------------------------------------- sources

Confirmation setGain(const PaSource& source, double level, bool first, bool second,
                     const Wait& wait) {
    if (source.type != PaSource::ZENTRIQ_ANALOG_INPUT &&
        source.type != PaSource::ZENTRIQ_IP_PAGING_STATION) {
        throw std::invalid_argument("source " + std::to_string(source.id) +
                                    " has no gain to set: it is a " + nameOf(source.type));
    }
    ConfirmedRequest request;
    request.operations = {operations::setSourceGain};
    request.send = [&] { source.setGain(level, first, second); };
    request.holds = [&] { return sentDigits(now(source).inputGain) == sentDigits(level); };
    return confirmGain(request, first || second, wait);
}

Confirmation attachZones(const PaSource& source, const std::vector<std::string>& zoneIds,
                         PaSource::AttachMode mode, const Wait& wait) {
    const std::set<std::string> wanted(zoneIds.begin(), zoneIds.end());
    ConfirmedRequest request;
    request.operations = {operations::attachZones, operations::detachZones};
    request.send = [&] { source.attachPaZone(zoneIds, mode); };
    request.holds = [&] {
        const auto attached = attachedZones(source);
        return std::includes(attached.begin(), attached.end(), wanted.begin(), wanted.end()) &&
               (mode != PaSource::REPLACE_EXISTING_SET || attached.size() == wanted.size());
    };
    return confirm(request, wait);
}

Confirmation detachZones(const PaSource& source, const std::vector<std::string>& zoneIds,
                         const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {operations::detachZones};
    request.send = [&] { source.detachPaZone(zoneIds); };
    request.holds = [&] {
        const auto attached = attachedZones(source);
        return std::none_of(zoneIds.begin(), zoneIds.end(), [&](const std::string& id) {
            return std::binary_search(attached.begin(), attached.end(), id);
        });
    };
    return confirm(request, wait);
}

Confirmation detachAllZones(const PaSource& source, const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {operations::detachZones};
    request.send = [&] { source.detachAllPaZones(); };
    request.holds = [&] { return attachedZones(source).empty(); };
    return confirm(request, wait);
}

// ---------------------------------------------------------------------------------------- locks

std::string lockHolder(int sourceId) {
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        if (lock.sourceId == sourceId) {
            return lock.lockedUUID;
        }
    }
    return {};
}

std::string ownUUID() {
    AudioServer* const server = pa::load(gAudioServerInstance);
    return server == nullptr ? std::string() : server->getUUID();
}

Confirmation takeLock(int sourceId, const Wait& wait) {
    const std::string own = ownUUID();
    const std::string holder = lockHolder(sourceId);
    if (!holder.empty() && holder != own) {
        return {State::Refused, "another client holds its lock (" + holder + ")"};
    }
    ConfirmedRequest request;
    request.operations = {operations::attachSource};
    request.send = [sourceId] {
        callInBackground("lock", [sourceId] { (void)gPaController.attachPaSource(sourceId); });
    };
    request.holds = [&] { return !own.empty() && lockHolder(sourceId) == own; };
    return confirm(request, wait);
}

Confirmation releaseLock(int sourceId, const Wait& wait) {
    const std::string own = ownUUID();
    const std::string holder = lockHolder(sourceId);
    if (holder != own && !ChangeStream::instance().isAway()) {  // incomplete caches show no lock
        return {State::Refused, holder.empty() ? "no client holds its lock"
                                               : "another client holds its lock (" + holder + ")"};
    }
    ConfirmedRequest request;
    request.operations = {operations::detachSource};
    request.send = [sourceId] {
        callInBackground("lock", [sourceId] { (void)gPaController.detachPaSource(sourceId); });
    };
    request.holds = [&] { return lockHolder(sourceId) != own; };
    return confirm(request, wait);
}

// ------------------------------------------------------------------------------------- triggers

Activation activate(const PaSWTrigger& trigger, const Wait& wait) {
    std::set<int> before;
    for (const AnnouncementRequest& record : gPaController.getAnnouncementRequests()) {
        before.insert(record.id);
    }
    std::vector<std::string> attached;
    gPaController.getAttachedPaZoneList(trigger.associatedSourceId, &attached);
    Activation result;
    ConfirmedRequest request;
    request.operations = {operations::activateTrigger};
    request.send = [&] { gPaController.activateSwPaTrigger(trigger.trigger.id); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
        if (update == nullptr) {
            return;
        }
        const AnnouncementRequest& record = update->record;
        const bool isItsOwn =
            before.count(record.id) == 0 && record.getAudioMessageType() == Message::LIVE_STREAM &&
            std::all_of(record.zones.begin(), record.zones.end(), [&](const std::string& zone) {
                return std::binary_search(attached.begin(), attached.end(), zone);
            });
        if (isItsOwn && !result.announcement) {
            result.announcement = record;
        }
    };
    request.holds = [&] { return result.announcement.has_value(); };
    result.confirmation = confirm(request, wait);
    return result;
}

Confirmation deactivate(const PaSWTrigger& trigger, std::optional<int> announcement,
                        const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {operations::deactivateTrigger};
    request.send = [&] { gPaController.deactivateSwPaTrigger(trigger.trigger.id); };
    request.holds = [&] {
        return !announcement || !gPaController.findAnnouncementRequest(*announcement);
    };
    return request.holds() ? awaitRefusal(request, shortened(wait)) : confirm(request, wait);
}

// ----------------------------------------------------------------------------------- recordings

namespace {

bool isRunningRecording(const AnnouncementRequest& record) {
    return record.stateText == "Recording";
}

/// The numbers of the records of recordings that run.
std::set<int> runningRecordings() {
    std::set<int> ids;
    for (const AnnouncementRequest& record : gPaController.getAnnouncementRequests()) {
        if (isRunningRecording(record)) {
            ids.insert(record.id);
        }
    }
    return ids;
}

Confirmation askOfRecorder(pa::OperationType operation, const std::function<void()>& send,
                           const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {operation};
    request.send = send;
    return awaitRefusal(request, shortened(wait));
}

}  // namespace

Confirmation startRecording(const std::string& serverPath, const Wait& wait) {
    const std::set<int> before = runningRecordings();
    bool isRunning = false;
    ConfirmedRequest request;
    request.operations = {operations::startRecording};
    request.send = [&] { gPaController.startUserRecording(serverPath); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
        isRunning = isRunning || (update != nullptr && isRunningRecording(update->record) &&
                                  update->record.completionMsg == serverPath &&
                                  before.count(update->record.id) == 0);
    };
    request.holds = [&] { return isRunning; };
    return confirm(request, wait);
}

StoppedRecording stopRecording(const Wait& wait) {
    std::set<int> running = runningRecordings();
    std::optional<AnnouncementRequest> end;
    ConfirmedRequest request;
    request.operations = {operations::stopRecording};
    request.send = [] { gPaController.stopUserRecording(); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
        if (update == nullptr) {
            return;
        }
        if (isRunningRecording(update->record)) {
            running.insert(update->record.id);
        } else if (running.count(update->record.id) > 0) {
            end = update->record;
        }
    };
    request.holds = [&] { return end.has_value(); };
    const Confirmation confirmation = confirm(request, wait);
    if (!end || !confirmation.holds()) {
        return {confirmation, {}};
    }
    if (end->stateText != "Recorded") {
        return {{State::Refused, "the recording is lost: " + end->completionMsg}, {}};
    }
    return {{State::Done}, end->completionMsg};
}

Confirmation previewRecording(const std::string& serverPath, const Wait& wait) {
    return askOfRecorder(
        operations::previewRecording, [&] { gPaController.previewUserRecording(serverPath); },
        wait);
}

Confirmation deleteRecording(const std::string& serverPath, const Wait& wait) {
    return askOfRecorder(
        operations::deleteRecording, [&] { gPaController.deleteUserRecording(serverPath); }, wait);
}

}  // namespace paclient
