#pragma once

#include <string>

#include "sdk/operations.h"

namespace pa {

/// The identifier of the request that an operation makes, read from its payload. For a schedule it
/// is the UUID before the description.
/// @return empty for an operation without one
std::string requestIdOf(OperationType type, const std::string& payload);

}  // namespace pa
