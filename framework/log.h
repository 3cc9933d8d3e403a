// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <functional>
#include <string>

#include "api.h"
#include "timeWidth.h"

/// @file
/// Log and error lines. Every function here may be called from any thread, with any lock held.

/// Current verbosity: a line of level n is issued only when this is greater than n - 1. Call sites
/// test it before they call `debug`. A shared global: see framework/shared.h.
extern PA_API long debugLevel;

/// Writes a diagnostic line, printf style.
/// @param level 1 (events) to 3 (details)
[[gnu::format(printf, 2, 3)]] PA_API void debug(int level, const char* format, ...);

/// Reports a misuse or a bad record, printf style. Never throws. Identical reports of level 3
/// within ten seconds are written once, and their number afterwards.
/// @param level 1 (misuse by the application), 2 (trouble on the link), 3 (bad server record)
[[gnu::format(printf, 2, 3)]] PA_API void handleError(int level, const char* format, ...);

namespace pa {

/// One line, as a log sink receives it.
struct LogLine {
    /// Which function wrote it: `debug` or `handleError`.
    enum class Kind { Debug, Error };

    Kind kind = Kind::Debug;  ///< which function wrote it
    int level = 0;            ///< 1 to 3
    std::time_t time = 0;     ///< wall clock, seconds since 1970 UTC
    std::string thread;       ///< name and number of the thread that wrote it
    std::string text;         ///< without a line end
};

/// The most bytes of lines that wait for the default sink.
constexpr std::size_t defaultSinkBytes = std::size_t{1} << 20;

/// Takes every line. Called with the log's lock held, one line at a time: it must not block for
/// long, log or replace the sink. When it throws, the default sink writes the line instead.
using LogSink = std::function<void(const LogLine&)>;

/// Replaces the sink; an empty one restores the default. A sink is called until the process ends,
/// by threads that never stop and at its exit.
///
/// The default sink writes `formatLogLine` and a line end to stderr (file descriptor 2), on a
/// thread of its own: it never blocks its caller. At most `defaultSinkBytes` of lines wait for a
/// stderr that takes them too slowly; further ones are dropped, and one line reports how many. exit
/// and the return from main write what waits, for a second at most. quick_exit, _exit and a signal
/// that ends the process lose what waits at that moment: see `flushLog`.
///
/// Earlier lines are on stderr when this returns, or a second has passed.
/// @return the previous sink, empty for the default
PA_API LogSink setLogSink(LogSink sink);

/// Waits until the default sink has written every line so far: before _exit, or to keep the order
/// with what the application writes to stderr itself. Not to be called from a sink.
/// @return false when it takes longer than `limit`, by the host's clock
PA_API bool flushLog(std::chrono::milliseconds limit);

/// The line as the default sink writes it, without a line end: UTC time, kind and level, thread,
/// text. Control characters are written as `\xNN`, so that a text cannot forge a line.
[[nodiscard]] PA_API std::string formatLogLine(const LogLine& line);

/// Writes how many reports `handleError` has suppressed so far. Never throws. The exit of the
/// process does this too.
PA_API void flushSuppressedErrors();

}  // namespace pa
