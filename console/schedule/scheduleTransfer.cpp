#include "console/schedule/scheduleTransfer.h"

#include <set>
#include <vector>

#include "console/ExitCode.h"
#include "console/commands/playMessage.h"
#include "console/files/LineFile.h"
#include "console/files/WholeFile.h"
#include "console/following/LiveView.h"
#include "console/following/operate.h"
#include "console/schedule/scheduleJson.h"
#include "console/schedule/schedulePut.h"
#include "console/text/resources.h"
#include "sdk/PAController.h"

namespace console {

namespace {

/// Why an entry of the file is not in.
struct FailedEntry {
    std::size_t number;  ///< in the file, from 1
    std::string reason;
};

std::string countText(std::size_t done, std::size_t total) {
    return std::to_string(done) + " of " + std::to_string(total) + " schedules";
}

/// Shows how far an import is: a bar on a terminal, else a line now and then, nothing beside JSON.
class Progress {
public:
    Progress(const Context& context, std::size_t total) : context_(context), total_(total) {
        if (context.terminal >= 0 && !context.settings.json) {
            view_.emplace(context.out);
        }
    }

    void show(std::size_t done) {
        constexpr std::size_t entriesPerLine = 100;
        constexpr std::size_t barColumns = 40;
        if (view_) {
            const std::string bar(done * barColumns / total_, '#');
            const std::string rest(barColumns - bar.size(), ' ');
            view_->draw({"[" + bar + rest + "] " + countText(done, total_)},
                        sizeOfTerminal(context_.terminal));
        } else if (!context_.settings.json && done % entriesPerLine == 0) {
            context_.out.write(countText(done, total_) + " are done\n");
        }
    }

private:
    const Context& context_;
    const std::size_t total_;
    std::optional<LiveView> view_;
};

Json entriesOf(const std::string& path) {
    LineFile file(path, "file of schedules");
    std::string text;
    for (std::string line; file.next(line);) {
        text += line + '\n';
    }
    Json entries;
    try {
        entries = Json::parse(text);
    } catch (const Json::exception& error) {
        const std::string fault = error.what();  // behind the library's own name for it
        throw Failure(ExitCode::Usage,
                      file.name() + " is not JSON: " + fault.substr(fault.find("] ") + 2));
    }
    if (!entries.is_array()) {
        throw Failure(ExitCode::Usage, file.name() + " is not a list of schedules");
    }
    return entries;
}

/// With the zones and voices as the server spells them.
/// @param known the ids of all zones
ScheduleDefinition spelledOut(ScheduleDefinition schedule, const std::vector<std::string>& known) {
    for (std::string& zone : schedule.paZones) {
        zone = known[findName("zone", zone, known)];
    }
    for (TTSVocalizer& spoken : schedule.ttsList) {
        const TTSVocalizer voice = voiceFor(spoken.language, spoken.voice);
        spoken.language = voice.language;
        spoken.voice = voice.voice;
    }
    return schedule;
}

class Import {
public:
    Import(const Context& context, const ScheduleImport& wanted, const Json& entries)
        : context_(context), wanted_(wanted), entries_(entries) {}

    void run() {
        Progress progress(context_, entries_.size());
        for (const Json& entry : entries_) {
            ++at_;
            if (const std::string reason = put(entry); !reason.empty()) {
                failed_.push_back({at_, reason});
            } else {
                ++done_;
            }
            progress.show(at_);
        }
    }

    /// How many entries are in for certain.
    std::size_t done() const { return done_; }
    const std::vector<FailedEntry>& failed() const { return failed_; }

private:
    /// @return why the entry is not in, nothing when it is
    /// @throws Failure when its outcome is unknown
    std::string put(const Json& entry) try {
        const ScheduleDefinition schedule = spelledOut(scheduleFrom(entry), zoneIds_);
        const std::string title = "schedule " + std::to_string(schedule.Id);
        if (schedule.Id <= 0) {
            return "the id is missing, or not above 0";
        }
        if (!ids_.insert(schedule.Id).second) {
            return title + " stands in the file twice";
        }
        if (!wanted_.replace && gPaController.findSchedule(schedule.Id)) {
            return "there is a " + title + " already; --replace replaces it";
        }
        putSchedule(context_, schedule);
        return {};
    } catch (const Failure& failure) {
        const bool isKnown = failure.code == ExitCode::Usage ||
                             failure.code == ExitCode::NotFound ||
                             failure.code == ExitCode::Refused;
        if (isKnown) {
            return failure.what();
        }
        throw Failure(failure.code, "entry " + std::to_string(at_) + ": " + failure.what() + "; " +
                                        countText(done_, entries_.size()) +
                                        " are in, and nothing behind this one has been sent");
    }

    const Context& context_;
    const ScheduleImport& wanted_;
    const Json& entries_;
    const std::vector<std::string> zoneIds_ = memberTexts(zones.all(), "id");
    std::size_t at_ = 0;    // number of the entry at hand
    std::size_t done_ = 0;  // how many are in
    std::set<int> ids_;     // in the file so far
    std::vector<FailedEntry> failed_;
};

/// Prints what is in and what has failed, so far.
void printResult(const Context& context, const Import& import, std::size_t total) {
    Json failed = Json::array();
    for (const FailedEntry& entry : import.failed()) {
        failed.push_back({{"entry", entry.number}, {"reason", entry.reason}});
        context.diagnostics.diagnostic("entry " + std::to_string(entry.number) + ": " +
                                       entry.reason);
    }
    printOutcome(context, countText(import.done(), total) + " are in",
                 {{"imported", import.done()}, {"failed", failed}});
}

}  // namespace

void exportSchedules(const Context& context, const std::optional<std::string>& file) {
    context.session();
    std::vector<ScheduleDefinition> definitions;
    for (const Schedule& schedule : schedules.all()) {
        definitions.push_back(schedule);
    }
    const Json json = toJson(definitions);
    if (Json::parse(jsonLines(json)) != json) {
        context.diagnostics.diagnostic(
            "some texts are not UTF-8: they are written with U+FFFD for what is not");
    }
    if (!file) {
        context.writeJson(json);
        return;
    }
    WholeFile whole(*file);
    whole.fillWith(jsonLines(json));
    whole.complete();
    printOutcome(context, std::to_string(definitions.size()) + " schedules are in " + *file,
                 {{"file", *file}, {"schedules", definitions.size()}});
}

void importSchedules(const Context& context, const ScheduleImport& wanted) {
    if (wanted.file == "-" && context.connection.readsCommands) {
        throw Failure(ExitCode::Usage, "the standard input holds the commands: name a file");
    }
    const Json entries = entriesOf(wanted.file);
    context.session();
    Import import(context, wanted, entries);
    try {
        import.run();
    } catch (const Failure&) {
        printResult(context, import, entries.size());
        throw;
    }
    printResult(context, import, entries.size());
    if (!import.failed().empty()) {
        throw Failure(ExitCode::Refused,
                      countText(import.failed().size(), entries.size()) + " are not in");
    }
}

}  // namespace console
