// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

/// @file
/// Moments as ms since 1970 UTC.

namespace papanel {

/// Now, by the host's wall clock. That counts seconds: the ms are the system clock's where both
/// agree.
std::int64_t utcNow();

/// As 2026-12-01T05:59:10.123Z.
std::string utcText(std::int64_t ms);

/// The same of seconds, as 2026-12-01T05:59:10Z.
std::string utcSecondText(std::time_t seconds);

/// The moment in a text of that form. The ms, the seconds or the whole time may be missing.
std::optional<std::int64_t> utcMoment(const std::string& text);

}  // namespace papanel
