#include "console/Console.h"

#include <exception>
#include <stdexcept>

#include "console/ExitCode.h"
#include "console/commandLine.h"
#include "console/script.h"

namespace console {

namespace {

/// Runs a command; what the controller itself refuses is a wrong argument.
void execute(const Handler& handler, const Context& context) {
    try {
        handler(context);
    } catch (const std::logic_error& error) {
        throw Failure(ExitCode::Usage, error.what());
    }
}

/// What the whole process is to do: one command, or a script, or a monitor beside a script.
Handler taskOf(const CommandLine& line) {
    const bool hasScript = !line.settings.script.empty();
    if (line.command.empty()) {
        if (!hasScript) {
            throw Failure(ExitCode::Usage, "no command; paconsole --help lists them");
        }
        return runScriptLines;
    }
    if (hasScript && line.command != "monitor") {
        throw Failure(ExitCode::Usage, "--script stands alone or with monitor");
    }
    return line.handler;
}

void runLine(const std::vector<std::string>& words, const Streams& streams, Output& diagnostics) {
    Output out(streams.out);
    const auto line = readCommandLine(words, Settings{}, LineKind::Process, out);
    if (line) {
        const Handler task = taskOf(*line);
        Connection connection(line->settings, diagnostics);
        execute(task, {line->settings, out, diagnostics, streams.terminal, connection});
    }
}

}  // namespace

int run(const std::vector<std::string>& words, const Streams& streams) {
    Output diagnostics(streams.err);
    try {
        runLine(words, streams, diagnostics);
    } catch (const Failure& failure) {
        diagnostics.diagnostic(failure.what());
        return static_cast<int>(failure.code);
    } catch (const std::exception& error) {
        diagnostics.diagnostic(error.what());
        return static_cast<int>(ExitCode::Usage);
    }
    return static_cast<int>(ExitCode::Done);
}

void runScriptLines(const Context& context) {
    Settings defaults = context.settings;
    defaults.script.clear();  // a line has no script of its own
    runScript(context.settings.script, [&](const std::vector<std::string>& words) {
        const auto line = readCommandLine(words, defaults, LineKind::Script, context.out);
        if (!line) {
            return;
        }
        if (!line->handler) {
            throw Failure(ExitCode::Usage, "no command");
        }
        Context lineContext = context;
        lineContext.settings = line->settings;
        execute(line->handler, lineContext);
    });
}

}  // namespace console
