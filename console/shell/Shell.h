#pragma once

#include <string>

#include "console/Context.h"
#include "console/ExitCode.h"
#include "console/files/LineFile.h"
#include "console/shell/shellNews.h"

namespace console {

/// Runs lines one after the other over one connection, also after a failure, until `exit`,
/// `quit` or their end. Then it releases the sources that are still attached.
class Shell {
public:
    /// @param onTerminal an interruption ends the command only, else the shell
    Shell(const Context& context, ShellNews& news, bool onTerminal);

    /// @return how the last line that failed has failed
    /// @throws Failure when the process is asked to end
    ExitCode run(LineSource& lines);

private:
    bool runLine(const std::string& line);
    void report(ExitCode code, const std::string& text);

    Context context_;
    ShellNews& news_;
    const bool onTerminal_;
    ExitCode lastFailure_ = ExitCode::Done;
};

}  // namespace console
