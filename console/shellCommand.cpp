#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

#include "console/HistoryFile.h"
#include "console/LineEditor.h"
#include "console/LineFile.h"
#include "console/Shell.h"
#include "console/commandLine.h"
#include "console/commands.h"
#include "console/knownNames.h"

namespace console {

namespace {

Completion completeLine(const std::string& line) {
    const CommandParser parser(Settings{}, LineKind::Shell);
    return complete(line, parser.tree(), knownNames);
}

/// On a terminal a failure has been seen, and the shell itself has not failed.
void runOnTerminal(const Context& context, ShellNews& news, bool keepsHistory) {
    const char* const stateHome = std::getenv("XDG_STATE_HOME");  // NOLINT: nobody changes it
    const char* const home = std::getenv("HOME");                 // NOLINT: as above
    HistoryFile history(keepsHistory ? historyPath(stateHome, home) : "", context.diagnostics);
    const bool mixes = isatty(STDERR_FILENO) == 1;
    LineEditor editor(stdin, stdout, mixes ? &context.diagnostics : nullptr, history,
                      {completeLine, [&news] { news.tell(); }});
    Shell(context, news, true).run(editor);
}

void runWithoutTerminal(const Context& context, ShellNews& news) {
    LineFile lines("-", "shell", [&news] { news.tell(); });
    const ExitCode code = Shell(context, news, false).run(lines);
    if (code != ExitCode::Done) {
        throw Failure(code, "");  // its line has told why
    }
}

}  // namespace

Handler defineShell(CLI::App& parser) {
    const auto forgets = std::make_shared<bool>(false);
    parser.add_flag("--no-history", *forgets, "Neither read nor write the history of lines");
    return [forgets](const Context& context) {
        context.session();
        ShellNews news(context.diagnostics);
        const bool onTerminal = isatty(STDIN_FILENO) == 1 && context.terminal >= 0;
        onTerminal ? runOnTerminal(context, news, !*forgets) : runWithoutTerminal(context, news);
    };
}

}  // namespace console
