#pragma once

#include <set>
#include <string>

#include "client/ChangeStream.h"
#include "console/Output.h"

namespace console {

/// What a script and a shell report between their commands: refusals that come late, sources that
/// are no longer attached, and a connection that is there again.
class ShellNotices {
public:
    explicit ShellNotices(Output& diagnostics, bool reportsConnection = true);

    /// Reports what has happened since, but no refusal that is part of `reported`.
    void report(const std::string& reported = {});

    /// The same after a command.
    void reportAfter(const std::string& command, const std::string& reported);

private:
    std::string textOf(const paclient::Change& change, const std::string& reported);

    Output& diagnostics_;
    const bool reportsConnection_;
    paclient::Subscription changes_;
    std::set<int> held_;
};

}  // namespace console
