// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "client/StationClock.h"
#include "client/scheduleText.h"
#include "client/schedules.h"
#include "console/commands/devices.h"
#include "console/schedule/ScheduleOptions.h"
#include "console/text/resourceTable.h"
#include "sdk/PAController.h"

namespace console {

using namespace paclient;

namespace {

void list(const Context& context) {
    context.connected();
    print(context, schedules, allSchedules());
}

/// Prints a schedule that the server keeps.
void print(const Context& context, const ScheduleDefinition& schedule, const std::string& what) {
    const ScheduleEntry now = described(schedule);
    const std::string next =
        now.nextRun.empty() ? "no next run" : "next run " + withTimeZone(now.nextRun);
    printOutcome(context, titleOf(schedules, now) + what + "; " + next, toJson(now));
    warnUnlessKept(context, "the schedule");
}

std::string put(const Context& context, const ScheduleDefinition& schedule) {
    return operate(context, "schedule " + std::to_string(schedule.Id) + " is kept as asked",
                   [&](const Wait& wait) { return putSchedule(schedule, wait); });
}

/// @return the number that the server has given it
int create(const Context& context, const ScheduleDefinition& schedule) {
    const auto limit = limitController(context.settings.timeout.value_or(answerSeconds));
    const auto send = [&](const Wait& wait) { return createSchedule(schedule, wait); };
    return resultOf(context, "the schedule is in", send).id;
}

struct ScheduleAdd {
    std::optional<int> id;
    bool sync = false;
    ScheduleOptions options;

    void define(CLI::App& app) {
        CLI::Option* const number = addWhole(app, "--id", id, {1, greatestWhole},
                                             "Its number (default: the lowest free one)");
        app.add_flag("--sync", sync, "The server chooses the number")->excludes(number);
        addScheduleOptions(app, options);
        app.get_option("--zones")->required();
    }

    void run(const Context& context) const {
        checkNew(options);
        context.connected();
        require(!id || !gPaController.findSchedule(*id),
                "there is a schedule " + std::to_string(id.value_or(0)) +
                    " already; 'schedule modify' changes it",
                ExitCode::Refused);
        ScheduleDefinition schedule = changed(blankSchedule(stationClock().date()), options);
        if (sync) {
            schedule.Id = create(context, schedule);
        } else {
            schedule.Id = id ? *id : freeScheduleId();
            put(context, schedule);
        }
        print(context, schedule, " is in");
    }
};

struct ScheduleModify : Named<schedules> {
    ScheduleOptions options;

    void define(CLI::App& app) {
        Named::define(app);
        addScheduleOptions(app, options);
    }

    void run(const Context& context) const {
        variablesOf(options);
        const ScheduleDefinition schedule = changed(find(context), options);
        require(schedule.visualAnnouncementType == AT_NONE || options.validity,
                "--validity is missing: how long a text is shown is known of new "
                "schedules only, so it must be given again");
        const std::string asBefore = put(context, schedule);
        print(context, schedule, asBefore.empty() ? " is changed" : asBefore);
    }
};

struct ScheduleRemove {
    std::vector<std::string> names;

    void define(CLI::App& app) {
        addTextList(app, "ID", names, "The numbers of schedules")->required();
    }

    void run(const Context& context) const {
        context.connected();
        const auto all = allSchedules();
        const auto namings = namingsOf(schedules, all);
        std::vector<int> ids;
        for (const std::string& name : names) {
            const int id = all[findNamed("schedule", name, namings)].Id;
            if (std::find(ids.begin(), ids.end(), id) == ids.end()) {
                ids.push_back(id);
            }
        }
        for (const int id : ids) {
            const std::string effect = "schedule " + std::to_string(id) + " is removed";
            operate(context, effect, [id](const Wait& wait) { return removeSchedule(id, wait); });
            printOutcome(context, effect, {{"Id", id}});
        }
    }
};

}  // namespace

Command scheduleCommand() {
    return group(
        "schedule", "Have announcements played at set dates and times",
        {command<list>("list", "List the schedules, and when they run next"),
         command<OfNamed<schedules, printOne<ScheduleEntry>>>(
             "show", "Show one schedule with all its members"),
         command<ScheduleAdd>("add", "Have the server play something at set dates and times"),
         command<ScheduleModify>("modify", "Change what is named of a schedule"),
         command<ScheduleRemove>("remove", "Delete schedules"), scheduleExportCommand(),
         scheduleImportCommand()});
}

}  // namespace console
