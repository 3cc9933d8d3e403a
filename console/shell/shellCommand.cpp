#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

#include "console/arguments/commandLine.h"
#include "console/commands/commands.h"
#include "console/files/LineFile.h"
#include "console/shell/HistoryFile.h"
#include "console/shell/LineEditor.h"
#include "console/shell/Shell.h"

namespace console {

namespace {

Completion completeLine(const std::string& line) {
    const CommandParser parser(Settings{}, LineKind::Shell);
    return complete(line, parser.tree(), knownNames);
}

/// On a terminal a failure has been seen, and the shell itself has not failed.
void runOnTerminal(const Context& context, ShellNews& news, bool keepsHistory) {
    const char* const stateHome = std::getenv("XDG_STATE_HOME");  // NOLINT: it is constant
    const char* const home = std::getenv("HOME");                 // NOLINT: as above
    HistoryFile history(keepsHistory ? historyPath(stateHome, home) : "", context.diagnostics);
    const bool mixes = isatty(STDERR_FILENO) == 1;
    LineEditor editor(stdin, stdout, mixes ? &context.diagnostics : nullptr, history,
                      {completeLine, [&news] { news.report(); }});
    Shell(context, news, true).run(editor);
}

void runWithoutTerminal(const Context& context, ShellNews& news) {
    LineFile lines("-", "shell", [&news] { news.report(); });
    const ExitCode code = Shell(context, news, false).run(lines);
    if (code != ExitCode::Done) {
        throw Failure(code, "");  // reported with its line
    }
}

struct ShellLines {
    bool forgets = false;

    void define(CLI::App& app) {
        app.add_flag("--no-history", forgets, "Neither read nor write the history of lines");
    }

    void run(const Context& context) const {
        context.session();
        context.connection.readsCommands = true;
        ShellNews news(context.diagnostics);
        const bool onTerminal = isatty(STDIN_FILENO) == 1 && context.terminal >= 0;
        onTerminal ? runOnTerminal(context, news, !forgets) : runWithoutTerminal(context, news);
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
