#include <algorithm>
#include <memory>

#include "console/ScheduleOptions.h"
#include "console/commands.h"
#include "console/operate.h"
#include "console/options.h"
#include "console/resourceTable.h"
#include "console/schedulePut.h"
#include "console/scheduleText.h"
#include "console/scheduleTransfer.h"

namespace console {

namespace {

constexpr const char* idHelp = "The number of a schedule";

struct NewSchedule {
    std::optional<int> id;
    bool sync = false;
    ScheduleOptions options;
};

struct ChangedSchedule {
    std::string id;
    ScheduleOptions options;
};

std::string titleOf(const ScheduleDefinition& schedule) {
    return "schedule " + std::to_string(schedule.Id);
}

void print(const Context& context, const ScheduleDefinition& schedule, const std::string& what) {
    const Schedule now = described(schedule);
    const std::string next = now.nextRun.empty() ? "no next run" : "next run " + now.nextRun;
    printOutcome(context, titleOf(schedule) + what + "; " + next, toJson(now));
}

void list(const Context& context) {
    context.session();
    print(context, schedules, schedules.all());
}

void show(const Context& context, const std::string& id) {
    context.session();
    printOne(context, findOne(schedules, id));
}

void add(const Context& context, const NewSchedule& wanted) {
    context.session();
    if (wanted.id && scheduleNumbered(*wanted.id)) {
        throw Failure(ExitCode::Refused, "there is a schedule " + std::to_string(*wanted.id) +
                                             " already; 'schedule modify' changes it");
    }
    ScheduleDefinition schedule = changed(blankSchedule(), wanted.options);
    if (wanted.sync) {
        schedule = putNewSchedule(context, schedule);
    } else {
        schedule.Id = wanted.id ? *wanted.id : freeScheduleId();
        putSchedule(context, schedule);
    }
    print(context, schedule, " is in");
}

void modify(const Context& context, const ChangedSchedule& wanted) {
    context.session();
    const ScheduleDefinition before = findOne(schedules, wanted.id);
    const ScheduleDefinition schedule = changed(before, wanted.options);
    const bool isShown = schedule.visualAnnouncementType != AT_NONE;
    if (isShown && !wanted.options.validity) {
        throw Failure(ExitCode::Usage,
                      "--validity is missing: how long a text is shown is known of new schedules "
                      "alone, so it must be said again");
    }
    const std::string asBefore = putSchedule(context, schedule);
    print(context, schedule, asBefore.empty() ? " is changed" : asBefore);
}

void remove(const Context& context, const std::vector<std::string>& names) {
    context.session();
    std::vector<int> ids;
    for (const std::string& name : names) {
        const int id = findOne(schedules, name).Id;
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) {
            ids.push_back(id);
        }
    }
    for (const int id : ids) {
        removeSchedule(context, id);
        printOutcome(context, "schedule " + std::to_string(id) + " is removed", {{"Id", id}});
    }
}

Handler defineScheduleList(CLI::App& /*parser*/) {
    return list;
}

Handler defineShow(CLI::App& parser) {
    const auto id = std::make_shared<std::string>();
    addText(parser, "ID", *id, idHelp)->required();
    return [id](const Context& context) { show(context, *id); };
}

Handler defineAdd(CLI::App& parser) {
    const auto wanted = std::make_shared<NewSchedule>();
    CLI::Option* const id = addWhole(parser, "--id", wanted->id, {1, greatestWhole},
                                     "Its number (default: the lowest free one)");
    parser.add_flag("--sync", wanted->sync, "The server chooses the number")->excludes(id);
    addScheduleOptions(parser, wanted->options);
    parser.get_option("--zones")->required();
    return [wanted](const Context& context) { add(context, *wanted); };
}

Handler defineModify(CLI::App& parser) {
    const auto wanted = std::make_shared<ChangedSchedule>();
    addText(parser, "ID", wanted->id, idHelp)->required();
    addScheduleOptions(parser, wanted->options);
    return [wanted](const Context& context) { modify(context, *wanted); };
}

Handler defineRemove(CLI::App& parser) {
    const auto ids = std::make_shared<std::vector<std::string>>();
    addTexts(parser, "ID", *ids, "The numbers of schedules", "ID")
        ->required()
        ->expected(1, greatestWhole)
        ->allow_extra_args();
    return [ids](const Context& context) { remove(context, *ids); };
}

Handler defineExport(CLI::App& parser) {
    const auto file = std::make_shared<std::optional<std::string>>();
    addText(parser, "--out", *file, "Where to write (default: the standard output)", "FILE");
    return [file](const Context& context) { exportSchedules(context, *file); };
}

Handler defineImport(CLI::App& parser) {
    const auto wanted = std::make_shared<ScheduleImport>();
    addText(parser, "FILE", wanted->file,
            "What 'schedule export' has written; - for the standard input")
        ->required();
    parser.add_flag("--replace", wanted->replace, "Replace schedules that have the same number");
    return [wanted](const Context& context) { importSchedules(context, *wanted); };
}

}  // namespace

Handler defineSchedule(CLI::App& parser) {
    return defineSubcommands(
        parser, {{"list", "List the schedules, and when they run next", defineScheduleList},
                 {"show", "Show one schedule with all its members", defineShow},
                 {"add", "Have the server play something at set dates and times", defineAdd},
                 {"modify", "Change what is named of a schedule", defineModify},
                 {"remove", "Have the server forget schedules", defineRemove},
                 {"export", "Write all schedules as JSON", defineExport},
                 {"import", "Put in what has been exported", defineImport}});
}

}  // namespace console
