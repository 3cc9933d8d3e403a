// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "api.h"

/// Writes a new RFC 4122 version 4 UUID (36 characters, lower case) into `out`, from the system's
/// random source. May be called from any thread.
/// @throws std::system_error when the random source fails
PA_API void generateUUID(std::string& out);
