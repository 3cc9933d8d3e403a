// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <iostream>
#include <unistd.h>

#include "console/Console.h"
#include "console/arguments/commandLine.h"
#include "console/arguments/words.h"
#include "console/files/LineFile.h"
#include "console/following/operate.h"
#include "console/interrupt.h"
#include "console/shell/LineEditor.h"
#include "sdk/PAController.h"
#include "util/userFile.h"

namespace console {

namespace {

/// Runs lines one after the other over one connection, also after a failure, until `exit`, `quit`
/// or their end. In the end it releases the sources that are still attached.
class Shell {
public:
    /// @param onTerminal an interruption ends the command only, else the shell
    Shell(const Context& context, bool onTerminal)
        : context_(context), onTerminal_(onTerminal), notices_(context.diagnostics) {
        context.session.lasts = true;
        context.session.survivesInterruption = true;
        context.session.readsCommands = true;
        context.session.onReconnected = [this] { notices_.report(); };
    }
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;
    ~Shell() {
        context_.session.onReconnected = {};
        releaseSources();
    }

    /// On a terminal a failure has been seen, and the shell itself has not failed.
    void runOnTerminal(bool keepsHistory) {
        const auto path = pautil::userFile("XDG_STATE_HOME", ".local/state", "paconsole/history");
        HistoryFile history(keepsHistory ? path : "", context_.diagnostics);
        const auto completeLine = [](const std::string& line) {
            const CommandParser parser(Settings{}, LineKind::Shell);
            return complete(line, parser.tree(), knownNames);
        };
        const bool mixes = isatty(STDERR_FILENO) == 1;
        Output elsewhere(std::cerr);  // diagnostics that do not appear on the terminal are not held
        LineEditor editor(stdin, stdout, mixes ? context_.diagnostics : elsewhere, history,
                          {completeLine, [this] { notices_.report(); }});
        for (std::string line; editor.next(line) && runTyped(line);) {
        }
    }

    void runWithoutTerminal() {
        LineFile lines("-", "shell", [this] { notices_.report(); });
        for (std::string line; lines.next(line) && runTyped(line);) {
        }
        if (lastFailure_ != ExitCode::Done) {
            throw Failure(lastFailure_, "");  // reported with its line
        }
    }

private:
    /// @return false when the line leaves the shell
    /// @throws Failure when the process is asked to end
    bool runTyped(const std::string& line) {
        std::string command;
        std::string reported;
        try {
            command = runLine(context_, splitWords(line), LineKind::Shell);
        } catch (const Failure& failure) {
            const bool interrupted = failure.code == ExitCode::Interrupted;
            const bool ends = interrupted && (!onTerminal_ || interrupt::isEnding());
            if (ends || context_.out.isClosed()) {
                throw;
            }
            if (interrupted) {
                context_.out.write("\n");  // below the "^C" of the terminal
            }
            reported = failure.what();
            report(failure.code, reported);
        } catch (const std::exception& error) {
            report(ExitCode::Usage, error.what());
        }
        if (onTerminal_) {
            interrupt::rearm();
        }
        notices_.report(command, reported);
        return command != "exit" && command != "quit";
    }

    /// Releases the sources that are attached by this client, within seconds.
    void releaseSources() const {
        constexpr double releaseSeconds = 2;
        const auto limit = limitController(releaseSeconds);
        bool answers = true;  // when the server does not, the other sources do not wait for it
        for (const int id : paclient::Connection::heldSources()) {
            answers = answers && gPaController.detachPaSource(id);
            context_.diagnostics.diagnostic(
                "source " + std::to_string(id) +
                (answers ? " is released" : " is still attached; its lock lapses at the server"));
        }
    }

    void report(ExitCode code, const std::string& text) {
        lastFailure_ = code;
        context_.diagnostics.diagnostic(text);
    }

    const Context& context_;
    const bool onTerminal_;
    ShellNotices notices_;
    ExitCode lastFailure_ = ExitCode::Done;
};

struct ShellLines {
    bool forgets = false;

    void define(CLI::App& app) {
        app.add_flag("--no-history", forgets, "Neither read nor write the history of lines");
    }

    void run(const Context& context) const {
        context.connected();
        const bool onTerminal = isatty(STDIN_FILENO) == 1 && context.terminal >= 0;
        Shell shell(context, onTerminal);
        onTerminal ? shell.runOnTerminal(!forgets) : shell.runWithoutTerminal();
    }
};

}  // namespace

Command shellCommand() {
    Command shell =
        command<ShellLines>("shell", "Run commands as they are typed, over one connection");
    shell.ownsProcess = true;
    return shell;
}

}  // namespace console
