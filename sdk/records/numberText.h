// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "framework/api.h"

/// @file
/// Numbers as texts of the server link. They do not depend on the process's locale and may be
/// called from any thread.

namespace pa {

/// Reads a decimal integer: leading white space, a sign, digits; whatever follows is ignored. A
/// text without digits is 0, a number beyond the range of int the nearest end of it.
int decodeInt(const char* text);

/// Reads a floating-point number as `atof` does in the "C" locale. A text without one is 0.0.
PA_API double decodeDouble(const char* text);

/// Appends an integer in plain decimal.
void appendInt(std::string& out, long long value);

/// Appends a floating-point number with at most six significant digits and no trailing zeros, the
/// shorter of fixed and exponent notation.
PA_API void appendDouble(std::string& out, double value);

}  // namespace pa
