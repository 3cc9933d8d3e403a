// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

/// @file
/// The operations refuse misuse with an exception whose text is part of the interface.

namespace pa {

template <class Exception = std::invalid_argument>
void require(bool condition, const char* text) {
    if (!condition) {
        throw Exception(text);
    }
}

/// Refuses an operation that a type of resource does not have.
/// @param complaint such as "setGain: Unsupported Sink Type"
template <class Exception>
void requireType(bool supported, const char* complaint, int type) {
    if (!supported) {
        throw Exception(std::string(complaint) + " >" + std::to_string(type) + "<");
    }
}

}  // namespace pa
