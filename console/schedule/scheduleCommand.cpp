#include <algorithm>
#include <memory>

#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "console/schedule/ScheduleOptions.h"
#include "console/schedule/schedulePut.h"
#include "console/schedule/scheduleText.h"
#include "console/schedule/scheduleTransfer.h"
#include "console/text/resourceTable.h"
#include "sdk/PAController.h"

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
    if (wanted.id && gPaController.findSchedule(*wanted.id)) {
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
    const std::vector<Schedule> all = schedules.all();
    const std::vector<std::string> numbers = memberTexts(all, "Id");
    std::vector<int> ids;
    for (const std::string& name : names) {
        const int id = all[findName(schedules.one, name, numbers)].Id;
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) {
            ids.push_back(id);
        }
    }
    for (const int id : ids) {
        removeSchedule(context, id);
        printOutcome(context, "schedule " + std::to_string(id) + " is removed", {{"Id", id}});
    }
}

Handler defineScheduleList(Parser& /*parser*/) {
    return list;
}

Handler defineShow(Parser& parser) {
    const auto id = std::make_shared<std::string>();
    parser.addText("ID", *id, idHelp).required();
    return [id](const Context& context) { show(context, *id); };
}

Handler defineAdd(Parser& parser) {
    const auto wanted = std::make_shared<NewSchedule>();
    const Argument id = parser.addWhole("--id", wanted->id, {1, greatestWhole},
                                        "Its number (default: the lowest free one)");
    parser.addFlag("--sync", wanted->sync, "The server chooses the number").excludes(id);
    addScheduleOptions(parser, wanted->options);
    parser.named("--zones").required();
    return [wanted](const Context& context) { add(context, *wanted); };
}

Handler defineModify(Parser& parser) {
    const auto wanted = std::make_shared<ChangedSchedule>();
    parser.addText("ID", wanted->id, idHelp).required();
    addScheduleOptions(parser, wanted->options);
    return [wanted](const Context& context) { modify(context, *wanted); };
}

Handler defineRemove(Parser& parser) {
    const auto ids = std::make_shared<std::vector<std::string>>();
    parser.addTexts("ID", *ids, "The numbers of schedules", "ID").required().oneOrMore();
    return [ids](const Context& context) { remove(context, *ids); };
}

Handler defineExport(Parser& parser) {
    const auto file = std::make_shared<std::optional<std::string>>();
    parser.addText("--out", *file, "Where to write (default: the standard output)", "FILE");
    return [file](const Context& context) { exportSchedules(context, *file); };
}

Handler defineImport(Parser& parser) {
    const auto wanted = std::make_shared<ScheduleImport>();
    parser
        .addText("FILE", wanted->file,
                 "What 'schedule export' has written; - for the standard input")
        .required();
    parser.addFlag("--replace", wanted->replace, "Replace schedules that have the same number");
    return [wanted](const Context& context) { importSchedules(context, *wanted); };
}

}  // namespace

Handler defineSchedule(Parser& parser) {
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
