// SPDX-License-Identifier: Apache-2.0
// The payloads that the simulated server reads. The first line of the input names the operation.
// Nothing but Refused leaves a decoder, and the controller understands the record of a schedule
// that the server accepts.
#include <map>

#include "framework/log.h"
#include "fuzz/Target.h"
#include "sdk/PAController.h"
#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/RequestDecoder.h"
#include "simserver/protocol/ScheduleDecoder.h"
#include "simserver/protocol/ScheduleRecord.h"

namespace {

void checkSchedule(const std::string& payload) {
    simserver::Schedule schedule;
    simserver::decodeSchedule(payload, schedule);
    pa::RecordList record(simserver::scheduleRecord(schedule));
    constexpr int key = 7;
    gPaController.initPaResources();
    fuzz::require(
        gPaController.mergeSchedule(key, record.list()) == PAController::MergeResult::Changed,
        "the controller accepts what the server accepts");
    const auto known = gPaController.findSchedule(key);
    fuzz::require(known->startYear == schedule.times.start.year &&
                      known->endMinute == schedule.times.end.minute &&
                      known->dayMask == schedule.times.dayMask &&
                      known->frequency == schedule.times.frequency &&
                      known->priorityLevel == schedule.level,
                  "the numbers of a schedule");
    const auto& zones = schedule.parts.back().zones;
    fuzz::require(known->paZones.size() == zones.size(), "the zones of a schedule");
    for (std::size_t i = 0; i < zones.size(); ++i) {
        const std::size_t begin = std::min(zones[i].find_first_not_of(" \t"), zones[i].size());
        fuzz::requireEqual(known->paZones[i], zones[i].substr(begin), "a zone of a schedule");
    }
}

template <auto decode>
void only(const std::string& payload) {
    decode(payload);
}
/// Into a request.
template <class Request, void (*decode)(std::string_view, Request&)>
void into(const std::string& payload) {
    Request request;
    decode(payload, request);
}

const std::map<std::string, void (*)(const std::string&)> decoders = {
    {"play", into<simserver::RequestToPlay, simserver::decodePlay>},
    {"cancel", only<simserver::decodeCancel>},
    {"retrieval", into<simserver::RetrievalRequest, simserver::decodeRetrieval>},
    {"template",
     [](const std::string& json) { simserver::decodeTemplate(simserver::NamedField(json)); }},
    {"lock", only<simserver::decodeLock>},
    {"attach", only<simserver::decodeAttachZones>},
    {"detach", only<simserver::decodeDetachZones>},
    {"gain", [](const std::string& payload) { simserver::decodeGain(payload, 42); }},
    {"monitoring", only<simserver::decodeMonitoring>},
    {"activation", only<simserver::decodeActivation>},
    {"id", only<simserver::decodeId>},
    {"schedule", checkSchedule},
};

}  // namespace

void fuzz::run(const std::string& input) {
    pa::setLogSink([](const pa::LogLine&) {});
    returns<simserver::Refused>([&] { runNamed(input, decoders); });
}
