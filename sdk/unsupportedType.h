#pragma once

#include <string>

/// Refuses an operation that a type of resource does not have.
/// @param complaint such as "setGain: Unsupported Sink Type"
template <class Exception>
[[noreturn]] void throwUnsupportedType(const std::string& complaint, int type) {
    throw Exception(complaint + " >" + std::to_string(type) + "<");
}
