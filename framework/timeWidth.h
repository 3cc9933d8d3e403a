// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

/// @file
/// Stations run for decades, and records with a time in them must have one size in every part of a
/// program. Every header that has a `time_t` includes this one. The CMake targets add the
/// definitions.

static_assert(sizeof(std::time_t) == 8,
              "time_t has 32 bits here: compile with -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64");
