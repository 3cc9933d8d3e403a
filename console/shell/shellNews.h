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

/// What a shell reports between its commands: refusals that come late, sources that are no longer
/// attached, and a connection that is there again.
class ShellNews {
public:
    explicit ShellNews(Output& diagnostics);

    /// Reports what has happened since, but no refusal that is part of `said`.
    void tell(const std::string& said = {});

    /// The end of the sources that are attached now is reported from here on.
    void noteSources() { held_ = heldSources(); }

private:
    std::string textOf(const paclient::Change& change, const std::string& said);

    Output& diagnostics_;
    paclient::Subscription changes_;
    std::set<int> held_;
};

}  // namespace console
