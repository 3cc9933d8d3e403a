// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "../framework/api.h"

namespace paclient {

/// No limit.
constexpr std::chrono::milliseconds noLimit = std::chrono::milliseconds::max();

/// How long a function waits, and what happens meanwhile. Times are those of the host's monotonic
/// clock (`pa::monotonicMS`).
struct Wait {
    /// At most so long; 0 looks once.
    std::chrono::milliseconds limit = std::chrono::seconds(10);

    /// Called on the waiting thread, without a lock, when the wait begins and then about every
    /// `tick`, with the time waited so far: to show what is waited for, or to stop waiting by an
    /// exception, which leaves the function that waits. Not called when there is nothing to wait
    /// for. May be empty.
    std::function<void(std::chrono::milliseconds waited)> whileWaiting{};

    /// Between two calls of `whileWaiting`.
    std::chrono::milliseconds tick = std::chrono::milliseconds(50);
};

/// The course of one wait.
///
///     WaitCourse course(wait);
///     while (!condition()) {
///         const auto slice = course.next();
///         if (!slice) return false;      // the limit has passed
///         waitAtMost(*slice);
///     }
class PA_API WaitCourse {
public:
    /// The wait begins now.
    explicit WaitCourse(const Wait& wait);

    /// Calls `whileWaiting`.
    /// @return how long to wait until the next look; nothing when the limit has passed
    /// @throws whatever `whileWaiting` throws
    std::optional<std::chrono::milliseconds> next();

    /// How long has been waited.
    [[nodiscard]] std::chrono::milliseconds waited() const;

private:
    const Wait wait_;
    const std::int64_t startMS_;
};

/// The result of a confirmed operation.
struct Confirmation {
    /// How the wait has ended.
    enum class State {
        Done,            ///< the server has reported the effect
        AsBefore,        ///< the effect was there before; nothing was sent
        Refused,         ///< the server has refused it
        NotSent,         ///< it was dropped before it reached the server: there is no effect
        ConnectionLost,  ///< the connection was lost meanwhile: the outcome is unknown
        TimedOut         ///< nothing was reported within the limit: the outcome is unknown
    };

    State state = State::Done;  ///< how the wait has ended
    std::string reason{};       ///< of a refusal, a drop or a loss; else empty

    /// Whether the effect is there.
    [[nodiscard]] bool holds() const { return state == State::Done || state == State::AsBefore; }

    /// Whether the effect may be there or not.
    [[nodiscard]] bool isUnknown() const {
        return state == State::ConnectionLost || state == State::TimedOut;
    }
};

}  // namespace paclient
