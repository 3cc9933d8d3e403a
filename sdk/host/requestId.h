// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "framework/api.h"
#include "sdk/operations.h"

namespace pa {

/// The identifier of the request that an operation makes, read from its payload. For a schedule it
/// is the UUID before the description.
/// @return empty for an operation without one
PA_API std::string requestIdOf(OperationType type, const std::string& payload);

}  // namespace pa
