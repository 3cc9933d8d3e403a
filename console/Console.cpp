// SPDX-License-Identifier: Apache-2.0
#include "console/Console.h"

#include <exception>
#include <stdexcept>

#include "client/find.h"
#include "client/sdkText.h"
#include "console/arguments/commandLine.h"
#include "console/arguments/words.h"
#include "console/files/LineFile.h"
#include "console/interrupt.h"
#include "console/text/changeText.h"
#include "operating/NotPossible.h"
#include "sdk/operations.h"
#include "simserver/protocol/Refused.h"
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
    } catch (const paclient::NotConnected& lost) {
        interrupt::check();  // which ends the wait for an answer
        throw Failure(ExitCode::ConnectionLost, lost.what());
    } catch (const paoperating::NotPossible& fault) {
        throw Failure(ExitCode::Refused, fault.what());
    } catch (const simserver::Refused& refused) {
        throw Failure(ExitCode::Refused, std::string("the server refuses: ") + refused.what());
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

}  // namespace

int run(const std::vector<std::string>& words, const Streams& streams) {
    Output diagnostics(streams.err, nullptr, streams.errorTerminal);
    Output out(streams.out, &diagnostics);
    try {
        const auto line = CommandParser(Settings{}, LineKind::Process).read(words, out);
        if (line) {
            const Handler task = taskOf(*line);
            Session session(line->settings, diagnostics);
            execute(task, {line->settings, out, diagnostics, streams.terminal, session});
        }
    } catch (const Failure& failure) {
        if (*failure.what() != '\0' && !out.isClosed()) {
            diagnostics.diagnostic(failure.what());
        }
        return static_cast<int>(interrupt::hasCome() ? ExitCode::Interrupted : failure.code);
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
            notices->report(runLine(lineContext, splitWords(line), LineKind::Script));
        } catch (const Failure& failure) {
            throw Failure(failure.code,
                          file.name() + ", line " + std::to_string(number) + ": " + failure.what());
        }
    }
}

std::string runLine(const Context& context, const std::vector<std::string>& words, LineKind kind) {
    const auto line = words.empty()
                          ? std::nullopt
                          : CommandParser(context.settings, kind).read(words, context.out);
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

ShellNotices::ShellNotices(Output& diagnostics, bool reportsConnection)
    : diagnostics_(diagnostics),
      reportsConnection_(reportsConnection),
      changes_(paclient::kinds<palink::Refusal, paclient::LockChange, palink::ConnectionChange>()),
      held_(paclient::Connection::heldSources()) {}

void ShellNotices::report(const std::string& command, const std::string& reported) {
    if (command == "source attach" || command == "source detach") {
        held_ = paclient::Connection::heldSources();  // it has reported what it has detached
    }
    while (const auto change = changes_.next()) {
        const std::string text = textOf(*change, reported);
        if (!text.empty()) {
            diagnostics_.diagnostic(text);
        }
    }
}

/// @return empty for what the user need not read
std::string ShellNotices::textOf(const paclient::Change& change, const std::string& reported) {
    if (const auto* const refusal = std::get_if<palink::Refusal>(&change)) {
        // The renewal of a lock may cross with its release: then it is refused.
        const bool isKnown = refusal->operation == pa::operations::renewLock ||
                             reported.find(refusal->reason) != std::string::npos;
        return isKnown ? "" : "refused: " + refusal->reason;
    }
    if (const auto* const lock = std::get_if<paclient::LockChange>(&change)) {
        const int id = lock->sourceId;
        const bool isLost =
            held_.count(id) > 0 && paclient::Connection::heldSources().count(id) == 0;
        held_.erase(isLost ? id : 0);
        return isLost ? "source " + std::to_string(id) + " is no longer attached" : "";
    }
    return reportsConnection_ ? connectionText(change) : "";
}

}  // namespace console
