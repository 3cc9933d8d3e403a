// SPDX-License-Identifier: Apache-2.0
#include "client/scheduleJson.h"
#include "console/commands/commands.h"
#include "console/files/LineFile.h"
#include "console/following/operate.h"
#include "console/text/cleanText.h"
#include "util/AtomicFile.h"

namespace console {

using namespace paclient;

namespace {

std::string countText(std::size_t done, std::size_t total) {
    return std::to_string(done) + " of " + std::to_string(total) +
           (total == 1 ? " schedule is" : " schedules are");
}

/// Shows how far an import is: a bar on a terminal, else a line now and then, nothing beside JSON.
/// @param view null where there is no terminal
void showProgress(const Context& context, LiveView* view, std::size_t done, std::size_t total) {
    constexpr std::size_t entriesPerLine = 100;
    constexpr std::size_t columns = 40;
    if (view != nullptr) {
        const double share = static_cast<double>(done) / static_cast<double>(total);
        view->draw(
            {"[" + fitted(bar(share, columns), columns) + "] " + countText(done, total) + " done"},
            sizeOfTerminal(context.terminal));
    } else if (!context.settings.json && done % entriesPerLine == 0) {
        context.out.write(countText(done, total) + " done\n");
    }
}

/// Prints what is in and what has failed.
void printResult(const Context& context, const ImportResult& result, std::size_t total) {
    Json failed = Json::array();
    for (const ImportResult::Failed& failure : result.failed) {
        failed.push_back({{"entry", failure.entry}, {"reason", failure.reason}});
        context.diagnostics.diagnostic("entry " + std::to_string(failure.entry) + ": " +
                                       failure.reason);
    }
    printOutcome(context, countText(result.imported, total) + " in",
                 {{"imported", result.imported}, {"failed", failed}});
}

std::vector<ImportEntry> entriesOf(const Context& context, const std::string& path) {
    LineFile file(path, "file of schedules");
    const std::string text = file.readAll();
    Json list;
    try {
        list = parseScheduleList(text);
    } catch (const std::invalid_argument& fault) {
        throw Failure(ExitCode::Usage, file.name() + ' ' + fault.what());
    }
    context.connected();
    return readSchedules(list);
}

struct ScheduleExport {
    std::string file = "-";

    void define(CLI::App& app) {
        addText(app, "--out", file, "Where to write (default: the standard output)", "FILE");
    }

    void run(const Context& context) const {
        std::optional<pautil::AtomicFile> whole;
        if (file != "-") {
            whole.emplace(file);
        }
        context.connected();
        const Json json = schedulesAsJson();
        const std::string text = jsonLines(json);
        if (Json::parse(text) != json) {
            context.diagnostics.diagnostic(
                "some texts are not UTF-8: they are written with U+FFFD for what is not");
        }
        if (!whole) {
            context.out.write(text);
            return;
        }
        whole->fillWith(text);
        whole->complete();
        printOutcome(context, countText(json.size(), json.size()) + " in " + file,
                     {{"file", file}, {"schedules", json.size()}});
    }
};

struct ScheduleImport {
    std::string file;
    bool replace = false;

    void define(CLI::App& app) {
        addText(app, "FILE", file, "What 'schedule export' has written; - for the standard input")
            ->required();
        app.add_flag("--replace", replace, "Replace schedules that have the same number");
    }

    void run(const Context& context) const {
        require(file != "-" || !context.session.readsCommands,
                "the standard input holds the commands: name a file");
        const std::vector<ImportEntry> entries = entriesOf(context, file);
        const std::size_t total = entries.size();
        const std::string unknown = "whether it is kept is unknown";
        const auto view = context.liveView();
        ImportResult result;
        try {
            importSchedules(
                entries, replace, waitOf(context, "", unknown),
                [&](const ImportResult& now) {
                    showProgress(context, view.get(), now.imported + now.failed.size(), total);
                },
                result);
            requireConfirmed(result.unknown, unknown);
        } catch (const Failure& failure) {
            printResult(context, result, total);
            throw Failure(failure.code, "entry " + std::to_string(result.unknownEntry.value_or(0)) +
                                            ": " + failure.what() + "; " +
                                            countText(result.imported, total) +
                                            " in, and nothing after this one has been sent");
        }
        printResult(context, result, total);
        if (result.imported > 0) {
            warnUnlessKept(context, "what is imported");
        }
        require(result.failed.empty(), countText(result.failed.size(), total) + " not in",
                ExitCode::Refused);
    }
};

}  // namespace

Command scheduleExportCommand() {
    return command<ScheduleExport>("export", "Write all schedules as JSON");
}

Command scheduleImportCommand() {
    return command<ScheduleImport>("import", "Put in what has been exported");
}

}  // namespace console
