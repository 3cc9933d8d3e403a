// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <filesystem>
#include <optional>

#include "framework/timeWidth.h"

namespace simserver {

/// How a simulated server runs.
struct Options {
    double speed = 1.0;             ///< simulated seconds per real second, above 0
    bool manualTime = false;        ///< no thread: time passes only through `SimServer::advance`
    std::filesystem::path spool;    ///< the upload folder; empty: in the state folder
    std::filesystem::path state{};  ///< what is kept; empty: nothing, and uploads are temporary
    std::optional<std::time_t> clock{};  ///< wall clock at the start; nothing: the host's
};

}  // namespace simserver
