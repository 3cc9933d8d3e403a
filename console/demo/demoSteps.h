// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace console {

/// One step of the demo: command lines of the console, in which `{name}` is a value that depends on
/// the station, and lines that wait: `wait 3` for so many seconds of the station, others for what
/// `DemoRun` knows.
struct DemoStep {
    const char* page;
    const char* name;
    const char* kind;
    const char* expected;  ///< part of what is seen in the end
    std::vector<std::string> lines;
};

/// The demo, in order.
extern const std::vector<DemoStep> demoSteps;

/// Run before the first step: what the last one waits for.
extern const std::string demoBeginning;

/// Undo what the steps may have left, after the announcements are cancelled.
extern const std::vector<std::string> demoCleanUp;

/// The values of `{name}` for the station.
/// @param zoneIds at least two; where there are few they are shared
/// @param folder  for files
std::map<std::string, std::string> demoValues(const std::vector<std::string>& zoneIds,
                                              const std::filesystem::path& folder);

}  // namespace console
