#include "console/Console.h"

#include <exception>
#include <stdexcept>

#include "client/find.h"
#include "client/sdkText.h"
#include "console/ExitCode.h"
#include "console/arguments/commandLine.h"
#include "console/arguments/words.h"
#include "console/files/LineFile.h"
#include "console/interrupt.h"
#include "console/shell/ShellNotices.h"
#include "util/FileError.h"

namespace console {

namespace {

/// Runs a command; what the controller itself refuses, and a file that cannot be used,
/// is a wrong argument.
void execute(const Handler& handler, const Context& context) {
    try {
        handler(context);
    } catch (const paclient::LookupError& unknown) {
        throw Failure(ExitCode::NotFound, unknown.what());
    } catch (const std::logic_error& error) {
        throw Failure(ExitCode::Usage, paclient::sentenceFor(error.what()));
    } catch (const pautil::FileError& error) {
        throw Failure(ExitCode::Usage, error.what());
    }
}

/// What the process does: one command, or a script, or a monitor during a script.
Handler taskOf(const CommandLine& line) {
    const bool hasScript = !line.settings.script.empty();
    if (line.command.empty()) {
        require(hasScript, "no command; paconsole --help lists them");
        return runScriptLines;
    }
    require(!hasScript || line.command == "monitor",
            "--script is used without a command or with monitor");
    return line.handler;
}

void runProcess(const std::vector<std::string>& words, const Streams& streams, Output& out,
                Output& diagnostics) {
    const auto line = CommandParser(Settings{}, LineKind::Process).read(words, out);
    if (line) {
        const Handler task = taskOf(*line);
        Session session(line->settings, diagnostics);
        execute(task, {line->settings, out, diagnostics, streams.terminal, session});
    }
}

}  // namespace

int run(const std::vector<std::string>& words, const Streams& streams) {
    Output diagnostics(streams.err, nullptr, streams.errorTerminal >= 0);
    Output out(streams.out, &diagnostics);
    try {
        runProcess(words, streams, out, diagnostics);
    } catch (const Failure& failure) {
        if (*failure.what() != '\0' && !out.isClosed()) {
            diagnostics.diagnostic(failure.what());
        }
        return static_cast<int>(failure.code);
    } catch (const std::exception& error) {
        diagnostics.diagnostic(error.what());
        return static_cast<int>(ExitCode::Usage);
    }
    return static_cast<int>(ExitCode::Done);
}

void runScriptLines(const Context& context) {
    Context lineContext = context;
    lineContext.settings.script.clear();  // a line has no script of its own
    context.session.lasts = true;
    context.session.readsCommands = context.settings.script == "-";
    const bool isWatched = &context.out == &context.diagnostics;  // by a monitor, which reports it
    const auto notices = std::make_shared<ShellNotices>(context.diagnostics, !isWatched);
    context.session.onReconnected = [notices] { notices->report(); };
    LineFile file(context.settings.script.string(), "script", [notices] { notices->report(); });
    std::string line;
    for (int number = 1; file.next(line); ++number) {
        interrupt::check();
        try {
            const auto words = splitWords(line);
            if (!words.empty()) {
                notices->reportAfter(runLine(lineContext, words, LineKind::Script), {});
            }
        } catch (const Failure& failure) {
            throw Failure(failure.code,
                          file.name() + ", line " + std::to_string(number) + ": " + failure.what());
        }
    }
}

std::string runLine(const Context& context, const std::vector<std::string>& words, LineKind kind) {
    const auto line = CommandParser(context.settings, kind).read(words, context.out);
    if (!line) {
        return {};
    }
    require(!line->command.empty(), "no command");
    if (line->handler) {
        Context lineContext = context;
        lineContext.settings = line->settings;
        execute(line->handler, lineContext);
    }
    return line->command;
}

}  // namespace console
