#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "client/Announcement.h"
#include "console/commands/PlayRequest.h"

namespace console {

/// One announcement of the demo.
struct DemoItem {
    const char* name;
    const char* kind;
    PlayRequest request;
    paclient::Announcement::State expected;
};

/// What the demo plays, in order.
/// @param zoneIds   at least two; any will do
/// @param recording a WAV file
std::vector<DemoItem> demoPlan(const std::vector<std::string>& zoneIds,
                               const std::filesystem::path& recording);

}  // namespace console
