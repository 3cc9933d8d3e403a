/// What the simulated server does with its schedules.

#include <nlohmann/json.hpp>

#include "simserver/SimServer.h"
#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/ScheduleDecoder.h"
#include "simserver/protocol/ScheduleRecord.h"

namespace simserver {

namespace {

using pa::RecordKind;
using std::chrono::seconds;

// Each of these is what a request would hold, to be played once.

template <class Played>
Content playedContent(const Played& content) {
    return content;
}
Content playedContent(const ScreenContent& content) {
    using Json = nlohmann::json;
    Json variables = Json::object();
    for (const auto& [key, value] : content.variables) {
        const Json shown = {{"text", value}, {"timeout", 0}};
        variables[key] = {{"type", "literal"}, {"values", Json::array({shown})}};
    }
    const Json tree = {{"kvPairs", variables}, {"validity", content.validity}};
    return TemplateContent{tree.dump(-1, ' ', false, Json::error_handler_t::replace),
                           content.validity};
}

std::string scheduleText(int id) {
    return id == 0 ? "new schedule" : "schedule " + std::to_string(id);
}

}  // namespace

void SimServer::putSchedule(const std::string& payload) {
    Schedule schedule;
    try {
        decodeSchedule(payload, schedule);
        for (const SchedulePart& part : schedule.parts) {
            if (const std::string why = playedPart(part).whyNot; !why.empty()) {
                throw Refused(why);
            }
        }
    } catch (const Refused& refused) {
        throw Refused(scheduleText(schedule.id) + ": " + refused.what());
    }
    if (schedule.id == 0) {
        schedule.id = schedules_.freeId();
    }
    tellSchedule(schedules_.put(schedule, payload, wallTime()));
}

void SimServer::deleteSchedule(const std::string& payload) {
    const int id = decodeId(payload);
    schedules_.remove(id);
    tellGone(RecordKind::Schedule, id);
}

void SimServer::tellSchedule(const Schedule& schedule) {
    tellRecord(RecordKind::Schedule, schedule.id, scheduleRecord(schedule));
}

std::optional<SimTime> SimServer::nextScheduledRun() const {
    const std::optional<std::time_t> next = schedules_.nextRun();
    return next ? std::optional<SimTime>(seconds(*next - epoch_)) : std::nullopt;
}

void SimServer::playSchedules() {
    for (const Schedule* const schedule : schedules_.takeDue(wallTime())) {
        PlayRequest request;
        request.id = newRequestId("schedule-" + std::to_string(schedule->id));
        request.relative = schedule->relative;
        request.level = schedule->level;
        for (const SchedulePart& part : schedule->parts) {
            request.parts.push_back(playedPart(part));
        }
        engine_.play(request, now_);
    }
}

/// A part as a request would hold it; of what the station does not have it says so.
RequestPart SimServer::playedPart(const SchedulePart& scheduled) const {
    RequestPart part;
    part.type = scheduled.type;
    part.origin = scheduled.origin;
    part.zones = scheduled.zones;
    part.content =
        std::visit([](const auto& content) { return playedContent(content); }, scheduled.content);
    part.gain = scheduled.gain;
    try {
        part.preChime = repertoire_.chimeNamed(scheduled.chime);
        repertoire_.check(part);
    } catch (const Refused& refused) {
        part.whyNot = refused.what();
    }
    return part;
}

}  // namespace simserver
