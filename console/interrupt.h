// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

#include "util/AtEnd.h"

/// @file
/// SIGINT, SIGTERM and SIGHUP. Their handler notes that one has come: every wait checks it often. A
/// SIGINT ends the command that runs, the others end the process.

namespace console::interrupt {

/// Notes the signals. A signal that comes again, more than `repeatMS` later, ends the process in
/// the system's way: what waits does not react to the first.
void install();

/// GNU timeout and some terminals send the same signal twice, one right after the other: to the
/// process and to its group.
constexpr std::int64_t repeatMS = 100;

/// Whether a signal ends the process at once.
/// @param firstMS when the same signal came before, or a negative number
bool endsAtOnce(std::int64_t firstMS, std::int64_t nowMS);

/// What a signal that ends the process at once writes to the standard output before: it restores
/// the terminal.
/// @param text lives as long as the process; null for nothing
void writeAtEnd(const char* text);

/// Set by a thread that could not print: the next `check` reports it.
inline std::atomic<bool> outputFailed{false};

/// @throws Failure when a signal has come, or another thread could not print
void check();

/// While the result lives `check` does not throw: for what must be done after an interruption.
pautil::AtEnd deferChecks();

/// Whether a signal has come: what waits without `check`, to write for example, gives up.
bool hasCome();

/// Forgets a SIGINT, so that what follows can be interrupted again.
/// @return whether one had come
bool rearm();

/// Whether the process is asked to end.
bool isEnding();

}  // namespace console::interrupt
