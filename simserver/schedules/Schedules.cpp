// SPDX-License-Identifier: Apache-2.0
#include "simserver/schedules/Schedules.h"

#include <nlohmann/json.hpp>

#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/ScheduleDecoder.h"
#include "simserver/protocol/ScheduleRecord.h"

namespace simserver {

namespace {

using pa::RecordKind;
using std::chrono::seconds;

// Each of these is the content of a request that plays a scheduled content once.

template <class Scheduled>
Content requestContent(const Scheduled& content) {
    return content;
}
Content requestContent(const ScreenContent& content) {
    using Json = nlohmann::json;
    Json variables = Json::object();
    for (const auto& [key, value] : content.variables) {
        const Json text = {{"text", value}, {"timeout", 0}};
        variables[key] = {{"type", "literal"}, {"values", Json::array({text})}};
    }
    const Json tree = {{"kvPairs", variables}, {"validity", content.validity}};
    return TemplateContent{tree.dump(-1, ' ', false, Json::error_handler_t::replace),
                           content.validity};
}

std::string scheduleText(int id) {
    return id == 0 ? "new schedule" : "schedule " + std::to_string(id);
}

}  // namespace

Schedules::Schedules(ServerContext& context, Playback& playback)
    : context_(context),
      playback_(playback),
      scheduler_(context.state, context.station.timeZone, context.clock.epoch()) {}

void Schedules::put(const std::string& payload) {
    Schedule schedule;
    try {
        decodeSchedule(payload, schedule);
        for (const SchedulePart& part : schedule.parts) {
            if (const std::string why = requestPart(part).whyNot; !why.empty()) {
                throw Refused(why);
            }
        }
    } catch (const Refused& refused) {
        throw Refused(scheduleText(schedule.id) + ": " + refused.what());
    }
    if (schedule.id == 0) {
        schedule.id = scheduler_.freeId();
    }
    publish(scheduler_.put(schedule, payload, context_.clock.wallTime()));
}

void Schedules::remove(const std::string& payload) {
    const int id = decodeId(payload);
    scheduler_.remove(id);
    context_.publisher.withdrawal(RecordKind::Schedule, id);
}

void Schedules::publishAll() const {
    for (const Schedule* const schedule : scheduler_.all()) {
        publish(*schedule);
    }
}

void Schedules::publish(const Schedule& schedule) const {
    context_.publisher.record(RecordKind::Schedule, schedule.id, scheduleRecord(schedule));
}

std::optional<SimTime> Schedules::nextDue() const {
    const std::optional<std::time_t> next = scheduler_.nextRun();
    return next ? std::optional<SimTime>(seconds(*next - context_.clock.epoch())) : std::nullopt;
}

void Schedules::takeDue() {
    for (const Schedule* const schedule : scheduler_.takeDue(context_.clock.wallTime())) {
        RequestToPlay request;
        request.id = playback_.newRequestId("schedule-" + std::to_string(schedule->id));
        request.relative = schedule->relative;
        request.level = schedule->level;
        for (const SchedulePart& part : schedule->parts) {
            request.parts.push_back(requestPart(part));
        }
        playback_.playOwn(request);
    }
}

/// A part as a request has it. What the station does not have is the reason in `whyNot`.
RequestPart Schedules::requestPart(const SchedulePart& scheduled) const {
    RequestPart part;
    part.type = scheduled.type;
    part.origin = scheduled.origin;
    part.zones = scheduled.zones;
    part.content =
        std::visit([](const auto& content) { return requestContent(content); }, scheduled.content);
    part.gain = scheduled.gain;
    try {
        part.preChime = context_.content.chimeNamed(scheduled.chime);
        context_.content.check(part);
    } catch (const Refused& refused) {
        part.whyNot = refused.what();
    }
    return part;
}

}  // namespace simserver
