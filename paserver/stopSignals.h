// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace paserver {

/// What the main thread of a daemon does with the signals that ask for its end, SIGTERM and SIGINT.

/// Blocks them, in this thread and in those that it starts: before there are any.
void blockStopSignals();

/// A signal that asks for the end, or nothing after a while.
std::optional<int> awaitStopSignal(std::chrono::milliseconds limit);

/// Waits for the end of a daemon that stops. A second signal ends the process at once, unless it
/// comes with the first.
/// @param hasEnded asked many times a second
void awaitEnd(const std::function<bool()>& hasEnded);

}  // namespace paserver
