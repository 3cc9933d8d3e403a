// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace bench {

/// Runs this program with other arguments, and returns what it has printed.
/// @throws std::runtime_error when it fails
std::string outputOfSelf(const std::string& arguments);

}  // namespace bench
