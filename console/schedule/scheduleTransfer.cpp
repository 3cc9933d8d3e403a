#include "console/schedule/scheduleTransfer.h"

#include <vector>

#include "client/resources.h"
#include "client/scheduleJson.h"
#include "client/schedules.h"
#include "console/ExitCode.h"
#include "console/commands/playMessage.h"
#include "console/files/LineFile.h"
#include "console/following/LiveView.h"
#include "console/following/operate.h"
#include "util/AtomicFile.h"

namespace console {

namespace {

using paclient::ImportResult;
using paclient::Json;

std::string countText(std::size_t done, std::size_t total) {
    return std::to_string(done) + " of " + std::to_string(total) + " schedules";
}

/// Shows how far an import is: a bar on a terminal, else a line now and then, nothing beside JSON.
class ImportProgress {
public:
    ImportProgress(const Context& context, std::size_t total) : context_(context), total_(total) {
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
    Json entries;
    try {
        entries = Json::parse(file.readAll());
    } catch (const Json::exception& error) {
        const std::string fault = error.what();  // after the library's own name for it
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
        zone = known[paclient::findName("zone", zone, known)];
    }
    for (TTSVocalizer& spoken : schedule.ttsList) {
        const TTSVocalizer voice = voiceFor(spoken.language, spoken.voice);
        spoken.language = voice.language;
        spoken.voice = voice.voice;
    }
    return schedule;
}

/// The schedules of a file; of one that cannot be read, why.
std::vector<paclient::ImportEntry> readEntries(const Json& entries) {
    std::vector<std::string> zoneIds;
    for (const PaZone& zone : paclient::allZones()) {
        zoneIds.push_back(zone.id);
    }
    std::vector<paclient::ImportEntry> result;
    for (const Json& entry : entries) {
        try {
            result.push_back({spelledOut(paclient::scheduleFrom(entry), zoneIds), {}});
        } catch (const std::exception& error) {
            result.push_back({{}, error.what()});
        }
    }
    return result;
}

/// Prints what is in and what has failed.
void printResult(const Context& context, const ImportResult& result, std::size_t total) {
    Json failed = Json::array();
    for (const ImportResult::Failed& failure : result.failed) {
        failed.push_back({{"entry", failure.entry}, {"reason", failure.reason}});
        context.diagnostics.diagnostic("entry " + std::to_string(failure.entry) + ": " +
                                       failure.reason);
    }
    printOutcome(context, countText(result.imported, total) + " are in",
                 {{"imported", result.imported}, {"failed", failed}});
}

/// Why an import has ended at an entry whose outcome is unknown.
Failure endedAt(const ImportResult& result, std::size_t total, const Failure& why) {
    return Failure(why.code, "entry " + std::to_string(result.unknownEntry.value_or(0)) + ": " +
                                 why.what() + "; " + countText(result.imported, total) +
                                 " are in, and nothing after this one has been sent");
}

}  // namespace

void exportSchedules(const Context& context, const std::optional<std::string>& file) {
    context.session();
    const std::vector<paclient::ScheduleEntry> all = paclient::allSchedules();
    const std::vector<ScheduleDefinition> definitions(all.begin(), all.end());
    const Json json = paclient::toJson(definitions, paclient::JsonTexts::None);
    if (Json::parse(paclient::jsonLines(json)) != json) {
        context.diagnostics.diagnostic(
            "some texts are not UTF-8: they are written with U+FFFD for what is not");
    }
    if (!file) {
        context.writeJson(json);
        return;
    }
    pautil::AtomicFile whole(*file);
    whole.fillWith(paclient::jsonLines(json));
    whole.complete();
    printOutcome(context, std::to_string(definitions.size()) + " schedules are in " + *file,
                 {{"file", *file}, {"schedules", definitions.size()}});
}

void importSchedules(const Context& context, const ScheduleImport& wanted) {
    if (wanted.file == "-" && context.connection.readsCommands) {
        throw Failure(ExitCode::Usage, "the standard input holds the commands: name a file");
    }
    const Json json = entriesOf(wanted.file);
    context.session();
    const std::vector<paclient::ImportEntry> entries = readEntries(json);
    const std::size_t total = entries.size();
    const std::string unknown = "whether it is kept is unknown";
    ImportProgress progress(context, total);
    ImportResult result;
    try {
        paclient::importSchedules(
            entries, wanted.replace, waitOf(context, "", unknown),
            [&](const ImportResult& now) { progress.show(now.imported + now.failed.size()); },
            result);
        requireConfirmed(result.unknown, unknown);
    } catch (const Failure& failure) {
        printResult(context, result, total);
        throw endedAt(result, total, failure);
    }
    printResult(context, result, total);
    if (result.imported > 0) {
        warnUnlessKept(context, "what is imported");
    }
    if (!result.failed.empty()) {
        throw Failure(ExitCode::Refused, countText(result.failed.size(), total) + " are not in");
    }
}

}  // namespace console
