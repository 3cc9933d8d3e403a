// The payloads that the simulated server reads. The first line of the input names the operation.
// Nothing but Refused leaves a decoder, and the controller understands the record of a schedule
// that the server accepts.
#include <map>

#include "framework/log.h"
#include "fuzz/Target.h"
#include "fuzz/naiveTexts.h"
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

using Decode = void (*)(const std::string&);

const std::map<std::string, Decode> decoders = {
    {"play",
     [](const std::string& payload) {
         simserver::RequestToPlay request;
         simserver::decodePlay(payload, request);
     }},
    {"cancel", [](const std::string& payload) { simserver::decodeCancel(payload); }},
    {"retrieval",
     [](const std::string& payload) {
         simserver::RetrievalRequest request;
         simserver::decodeRetrieval(payload, request);
     }},
    {"template",
     [](const std::string& payload) { simserver::decodeTemplate(simserver::NamedField(payload)); }},
    {"lock", [](const std::string& payload) { simserver::decodeLock(payload); }},
    {"attach", [](const std::string& payload) { simserver::decodeAttachZones(payload); }},
    {"detach", [](const std::string& payload) { simserver::decodeDetachZones(payload); }},
    {"gain", [](const std::string& payload) { simserver::decodeGain(payload, 42); }},
    {"monitoring", [](const std::string& payload) { simserver::decodeMonitoring(payload); }},
    {"activation", [](const std::string& payload) { simserver::decodeActivation(payload); }},
    {"id", [](const std::string& payload) { simserver::decodeId(payload); }},
    {"schedule", checkSchedule},
};

}  // namespace

void fuzz::run(const std::string& input) {
    pa::setLogSink([](const pa::LogLine&) {});
    const std::string operation = input.substr(0, input.find('\n'));
    const std::string payload = input.substr(std::min(input.size(), operation.size() + 1));
    if (const auto decoder = decoders.find(operation); decoder != decoders.end()) {
        returns<simserver::Refused>([&] { decoder->second(payload); });
    }
}
