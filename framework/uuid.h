#pragma once

#include <string>

/// Writes a new RFC 4122 version 4 UUID (36 characters, lower case) into `out`, from the system's
/// random source. May be called from any thread.
/// @throws std::system_error when the random source fails
void generateUUID(std::string& out);
