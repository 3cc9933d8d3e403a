#pragma once

#include <set>
#include <string>
#include <vector>

#include "client/Change.h"
#include "console/arguments/options.h"

namespace console {

/// Which changes a user wants to see: all, or those of some kinds and of some zones and sources.
class ChangeFilter {
public:
    void define(CLI::App& app);

    /// Looks up the zones and the sources.
    void resolve();

    /// Those that may pass.
    paclient::ChangeKinds kinds() const;

    bool passes(const paclient::Change& change) const;

private:
    std::vector<std::string> kindNames_;
    std::vector<std::string> zoneNames_;
    std::vector<std::string> sourceNames_;
    std::set<std::string> zones_;
    std::set<int> sources_;
};

}  // namespace console
