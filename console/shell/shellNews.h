#pragma once

#include <set>
#include <string>

#include "console/Output.h"
#include "console/following/Changes.h"

namespace console {

/// The sources that are attached by this client.
std::set<int> heldSources();

/// Releases them, within seconds, and says of each what has become of it.
void releaseSources(Output& diagnostics);

/// What happens to a shell's doings between its commands: refusals that come late, and sources that
/// are no longer attached.
class ShellNews {
public:
    explicit ShellNews(Output& diagnostics);

    /// Tells what has happened since, but for refusals that `said` has told already.
    void tell(const std::string& said = {});

    /// The sources that are attached are those whose end is told from here on.
    void noteSources() { held_ = heldSources(); }

private:
    Output& diagnostics_;
    Changes changes_;
    std::set<int> held_;
};

}  // namespace console
