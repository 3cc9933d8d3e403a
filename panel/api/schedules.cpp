// SPDX-License-Identifier: Apache-2.0
#include "client/schedules.h"

#include <deque>
#include <set>

#include "client/Calendar.h"
#include "client/StationClock.h"
#include "client/scheduleJson.h"
#include "client/scheduleText.h"
#include "client/scheduleTimes.h"
#include "client/shortened.h"
#include "panel/api/Body.h"
#include "panel/api/ScheduleNumbers.h"
#include "panel/api/outcome.h"
#include "panel/api/query.h"
#include "panel/api/resources.h"
#include "panel/api/routes.h"
#include "sdk/PAController.h"

namespace papanel {

using namespace paclient;

namespace {

constexpr int mostRuns = 1'000;
constexpr int usualRuns = 5;
constexpr std::size_t mostEntries = 5'000;  // of an import
constexpr std::size_t mostReasons = 100;    // in its answer

std::string scheduleTitle(int id) {
    return "schedule " + std::to_string(id);
}

ApiReply put(Services& services, const ScheduleDefinition& schedule, int status) {
    const std::string effect = scheduleTitle(schedule.Id) + " is kept as asked";
    const Confirmation done =
        operate(services, effect, [&](const Wait& wait) { return putSchedule(schedule, wait); });
    return {status, doneAnswer(done, effect, toJson(described(schedule)))};
}

ApiReply addByServer(Services& services, const ScheduleDefinition& schedule) {
    if (schedule.Id != 0) {
        failReading("the member 'Id' is not the server's choice");
    }
    const ScheduleNumbers::ServersChoice choice(services.scheduleNumbers);
    ScheduleDefinition kept = schedule;
    const Confirmation done = operate(services, "the schedule is kept", [&](const Wait& wait) {
        const NewSchedule made = createSchedule(schedule, wait);
        kept.Id = made.id;
        return made.confirmation;
    });
    return {201, doneAnswer(done, scheduleTitle(kept.Id) + " is kept as asked",
                            toJson(described(kept)))};
}

ApiReply addSchedule(Services& services, const ApiRequest& request) {
    requireConnected(services);
    ScheduleDefinition schedule = readSchedule(request.body);
    if (request.queryOr("sync") == "1") {
        return addByServer(services, schedule);
    }
    ScheduleNumbers::Taken taken(services.scheduleNumbers, schedule.Id);
    if (gPaController.findSchedule(taken.number())) {
        throw ApiError(409, "refused", "there is a " + scheduleTitle(taken.number()) + " already");
    }
    schedule.Id = taken.number();
    try {
        return put(services, schedule, 201);
    } catch (const ApiError& error) {
        if (error.status == outcomeUnknown) {
            taken.leaveOut();
        }
        throw;
    }
}

ApiReply changeSchedule(Services& services, const ApiRequest& request) {
    requireConnected(services);
    ScheduleDefinition schedule = readSchedule(request.body);
    const int id = findOne(schedules, request.parts.at(0)).Id;
    if (schedule.Id != 0 && schedule.Id != id) {
        failReading("the member 'Id' is not that of the schedule");
    }
    // What is displayed has the duration that was reported first, so the one in force is unknown.
    const bool isGiven = request.body.contains("displayTemplateValidityPeriodSeconds");
    if (schedule.visualAnnouncementType != AT_NONE && !isGiven) {
        failReading("the member 'displayTemplateValidityPeriodSeconds' is missing");
    }
    schedule.Id = id;
    return put(services, schedule, 200);
}

ApiReply removeOne(Services& services, const ApiRequest& request) {
    const int id = findOne(schedules, request.parts.at(0)).Id;
    const std::string effect = scheduleTitle(id) + " is removed";
    const Confirmation done =
        operate(services, effect, [id](const Wait& wait) { return removeSchedule(id, wait); });
    return {200, doneAnswer(done, effect, {{"Id", id}})};
}

// ------------------------------------------------------------------------------------------- runs

ApiReply runsOf(const ScheduleDefinition& schedule, int count, const std::string& from = "",
                const std::string& until = "") {
    const StationClock clock = stationClock();
    std::time_t after = clock.now();
    if (!from.empty()) {
        const DateTime start = parseDateTime(from);
        const Date date = start.date.value_or(clock.date());
        const TimeOfDay time = start.time.value_or(TimeOfDay{0, 0});
        const Calendar calendar(clock.timeZone().empty() ? "UTC" : clock.timeZone());
        after = calendar.momentOf({date.year, date.month, date.day, time.hour, time.minute}) - 1;
    }
    // Moments as ISO 8601 are in the order of their texts.
    std::string last;
    if (!until.empty()) {
        const DateTime end = parseDateTime(until);
        last = dateText(end.date.value_or(clock.date())) + 'T' +
               timeText(end.time.value_or(TimeOfDay{23, 59}));
    }
    Json runs = Json::array();
    for (const std::string& run :
         clock.runTexts(schedule, after, static_cast<std::size_t>(count))) {
        if (last.empty() || run <= last) {
            runs.push_back(run);
        }
    }
    return {200, {{"runs", runs}}};
}

ApiReply runsOfDraft(Services& /*services*/, const ApiRequest& request) {
    const auto [schedule, count] = readMembers(request.body, [](Body& body) {
        return std::make_pair(scheduleFrom(body.get<Json>("schedule")),
                              body.findWithin("count", 1, mostRuns).value_or(usualRuns));
    });
    return runsOf(schedule, count);
}

ApiReply runsOfSchedule(Services& /*services*/, const ApiRequest& request) {
    return runsOf(findOne(schedules, request.parts.at(0)),
                  numberOf(request, "count", usualRuns, 1, mostRuns), request.queryOr("from"),
                  request.queryOr("until"));
}

// --------------------------------------------------------------------------------------- transfer

ApiReply exportAll(Services& /*services*/, const ApiRequest& /*request*/) {
    ApiReply reply{200, schedulesAsJson()};
    reply.headers.emplace_back("Content-Disposition", "attachment; filename=\"schedules.json\"");
    return reply;
}

/// Takes the numbers of the entries. One whose number is being used fails.
std::deque<ScheduleNumbers::Taken> takeNumbers(ScheduleNumbers& numbers,
                                               std::vector<ImportEntry>& entries) {
    std::deque<ScheduleNumbers::Taken> taken;
    std::set<int> known;  // a number that is in the list twice is the import's to refuse
    for (ImportEntry& entry : entries) {
        try {
            if (entry.schedule.Id > 0 && known.insert(entry.schedule.Id).second) {
                taken.emplace_back(numbers, entry.schedule.Id);
            }
        } catch (const ApiError& isUsed) {
            entry.fault = isUsed.what();
        }
    }
    return taken;
}

/// What has become of an import, for people.
std::string importText(const ImportResult& result, std::size_t entries) {
    constexpr std::size_t mostText = 400;
    std::string text =
        std::to_string(result.imported) + " of " + std::to_string(entries) + " schedules are in";
    for (const ImportResult::Failed& failure : result.failed) {
        if (text.size() < mostText) {
            text += "; entry " + std::to_string(failure.entry) + ": " + failure.reason;
        }
    }
    return shortened(text, mostText);
}

ApiReply importAll(Services& services, const ApiRequest& request) {
    if (!request.body.is_array()) {
        failReading("the body is not a list of schedules");
    }
    if (request.body.size() > mostEntries) {
        failReading("the list has more than " + std::to_string(mostEntries) + " schedules");
    }
    requireConnected(services);
    std::vector<ImportEntry> entries = readSchedules(request.body);
    const auto taken = takeNumbers(services.scheduleNumbers, entries);
    ImportResult result;
    importSchedules(entries, request.queryOr("replace") == "1", waitOf(services), {}, result);
    Json failed = Json::array();
    for (const ImportResult::Failed& failure : result.failed) {
        if (failed.size() < mostReasons) {
            failed.push_back({{"entry", failure.entry}, {"reason", failure.reason}});
        }
    }
    const Json counts = {
        {"imported", result.imported}, {"refused", result.failed.size()}, {"failed", failed}};
    if (result.unknownEntry) {
        const std::string entry = "entry " + std::to_string(*result.unknownEntry);
        throw ApiError(outcomeUnknown, "timed-out",
                       "whether " + entry +
                           " is kept is unknown, nothing after it has been sent; " +
                           importText(result, entries.size()),
                       counts);
    }
    Json answer = doneAnswer({}, importText(result, entries.size()), counts);
    if (!result.failed.empty()) {
        answer["outcome"] = result.imported > 0 ? "partly" : "refused";
    }
    return {200, answer};
}

}  // namespace

Routes scheduleRoutes() {
    constexpr Access who = Access::Operator;
    constexpr Effect what = Effect::Operates;
    constexpr std::size_t greatestImport = std::size_t{16} << 20U;
    return {
        {"POST", "/schedules", who, what, "add schedule", answered<addSchedule>},
        {"PUT", "/schedules/{id}", who, what, "change schedule", answered<changeSchedule>},
        {"DELETE", "/schedules/{id}", who, what, "remove schedule", answeredWithoutBody<removeOne>},
        {"POST", "/schedules/runs", Access::Monitor, Effect::Asks, nullptr, answered<runsOfDraft>},
        {"GET", "/schedules/{id}/runs", Access::Monitor, Effect::Reads, nullptr,
         answered<runsOfSchedule>},
        {"GET", "/schedules/export", Access::Monitor, Effect::Reads, nullptr, answered<exportAll>},
        {"POST", "/schedules/import", who, what, "import schedules", answered<importAll>,
         "application/json", greatestImport},
    };
}

}  // namespace papanel
