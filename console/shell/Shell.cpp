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
    explicit Leaving(const Context& context) : context_(context) {}
    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;
    ~Leaving() {
        context_.connection.onReconnected = {};
        releaseSources(context_.diagnostics);
    }

private:
    const Context& context_;
};

}  // namespace

Shell::Shell(const Context& context, ShellNews& news, bool onTerminal)
    : context_(context), news_(news), onTerminal_(onTerminal) {
    context_.connection.lasts = true;
    context_.connection.survivesInterruption = true;
    context_.connection.onReconnected = [&news] { news.report(); };
}

ExitCode Shell::run(LineSource& lines) {
    const Leaving leaving(context_);
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
    news_.reportAfter(command, reported);
    return command != "exit" && command != "quit";
}

void Shell::report(ExitCode code, const std::string& text) {
    lastFailure_ = code;
    context_.diagnostics.diagnostic(text);
}

}  // namespace console
