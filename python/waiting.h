// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <pybind11/pybind11.h>

#include "client/Wait.h"
#include "python/WithoutGil.h"

namespace papython {

/// Seconds; nothing for no limit.
using Timeout = std::optional<double>;

constexpr double defaultSeconds = 10;

inline std::chrono::milliseconds limitOf(const Timeout& timeout) {
    constexpr double longest = 1e9;  // 30 years: no limit
    constexpr double milliseconds = 1000;
    if (!timeout || *timeout > longest) {
        return paclient::noLimit;
    }
    return std::chrono::milliseconds(
        *timeout > 0 ? static_cast<std::int64_t>(*timeout * milliseconds) : 0);
}

/// Calls a function that waits, without the interpreter's lock. A signal that Python handles with
/// an exception ends the wait; that exception counts more than what its end has led to.
template <class Call>
auto waiting(const Timeout& timeout, Call call) {
    const std::chrono::milliseconds limit = limitOf(timeout);
    try {
        WithoutGil withoutGil;
        return call(paclient::Wait{
            limit, [&withoutGil](std::chrono::milliseconds) { withoutGil.throwIfInterrupted(); }});
    } catch (...) {
        if (PyErr_Occurred() == nullptr) {
            throw;
        }
        throw py::error_already_set();
    }
}

}  // namespace papython
