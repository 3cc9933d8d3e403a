#include "console/shell/Shell.h"

#include <exception>

#include "console/Console.h"
#include "console/arguments/words.h"
#include "console/interrupt.h"

namespace console {

namespace {

/// Releases the sources, whatever ends the shell.
class Leaving {
public:
    explicit Leaving(Output& diagnostics) : diagnostics_(diagnostics) {}
    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;
    ~Leaving() { releaseSources(diagnostics_); }

private:
    Output& diagnostics_;
};

}  // namespace

Shell::Shell(const Context& context, ShellNews& news, bool onTerminal)
    : context_(context), news_(news), onTerminal_(onTerminal) {
    context_.connection.lasts = true;
    context_.connection.survivesInterruption = true;
}

ExitCode Shell::run(LineSource& lines) {
    const Leaving leaving(context_.diagnostics);
    std::string line;
    while (lines.next(line) && runLine(line)) {
    }
    return lastFailure_;
}

/// @return false when the line leaves the shell
bool Shell::runLine(const std::string& line) {
    std::string command;
    std::string reported;
    try {
        const auto words = splitWords(line);
        if (!words.empty()) {
            command = console::runLine(context_, words, LineKind::Shell);
        }
    } catch (const Failure& failure) {
        reported = failure.what();
        if (context_.out.isClosed()) {
            throw;
        }
        if (failure.code != ExitCode::Interrupted) {
            report(failure.code, reported);
        } else if (onTerminal_ && !interrupt::isEnding()) {
            context_.out.write("\n");  // below the "^C" of the terminal
            report(failure.code, reported);
        } else {
            throw;
        }
    } catch (const std::exception& error) {
        report(ExitCode::Usage, error.what());
    }
    if (onTerminal_) {
        interrupt::rearm();
    }
    if (command == "source attach" || command == "source detach") {
        news_.noteSources();  // the command has reported what it has detached
    }
    news_.tell(reported);
    return command != "exit" && command != "quit";
}

void Shell::report(ExitCode code, const std::string& text) {
    lastFailure_ = code;
    context_.diagnostics.diagnostic(text);
}

}  // namespace console
