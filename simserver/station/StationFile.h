// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <stdexcept>

#include "simserver/station/Station.h"

namespace simserver {

/// A scenario file that cannot be used. The message names the file and the place in it:
/// "/etc/central.json: /zones/3/id: ...".
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a station from a scenario file. docs/simulator.md describes its members.
/// @throws ScenarioError when the file cannot be read, is not JSON, or does not describe a station:
///         a missing, unknown or repeated member, a value of a wrong type or range, an id given
///         twice, an id of something that does not exist
Station loadStation(const std::filesystem::path& file);

}  // namespace simserver
