#pragma once

#include <set>
#include <string>

#include "client/ChangeStream.h"
#include "console/Output.h"

namespace console {

/// The sources that are attached by this client.
std::set<int> heldSources();

/// Releases them, within seconds, and reports of each whether it is released.
void releaseSources(Output& diagnostics);

/// What a script and a shell report between their commands: refusals that come late, sources that
/// are no longer attached, and a connection that is there again.
class ShellNews {
public:
    explicit ShellNews(Output& diagnostics, bool reportsConnection = true);

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
