// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "../framework/durationCounts.h"
#include "../framework/fork.h"

namespace palink {

/// Runs steps at their due times, in the order in which they were added, on one thread of its own.
/// A step waits for those before it, whatever its due time is.
///
/// Each step concerns a kind and a key. The caller of `add` asks first whether steps for the same
/// kind and key wait: `concerns` for a step that must follow them, `isHeld` for one that must
/// follow a step that holds its key.
///
/// Every function may be called from any thread but from a step; `begin` and `end` by one thread.
/// When the system has no thread, steps run inside `add`, on the thread that adds them.
class Notifier {
public:
    struct Step;

    /// What a step does. Must not throw.
    using Job = std::function<void(const Step&)>;

    struct Step {
        int kind = 0;
        int key = 0;
        std::int64_t dueMS = 0;  ///< by `monotonicMS`; one in the past is due at once
        bool holdsKey = false;   ///< later steps for the key wait for it
        Job run{};
        std::size_t bytes = 0;       ///< additional bytes that the job holds
        std::int64_t arrivedUS = 0;  ///< of the batch, by `monotonicUS`; 0: it is not measured
    };

    /// The approximate size of a step without the bytes that its job holds.
    static constexpr std::size_t stepBytes = 100;

    /// The most steps that wait when their jobs hold nothing: the capacity in bytes is this number
    /// of times `stepBytes`.
    static constexpr std::size_t capacity = 100'000;

    /// The longest wait for a step, in ms, should the clock jump.
    static constexpr std::int64_t longestWaitMS = 100;

    Notifier();
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;
    /// As `end` with no time to wait.
    ~Notifier();

    /// Waits until there is space for more steps.
    /// @return false when there is none and `releaseWaiters` has been called
    bool waitForSpace();

    /// Adds a step, also when there is no space.
    void add(Step step);

    /// Whether a step for the kind and the key waits or runs.
    bool concerns(int kind, int key) const;

    /// Whether one of these holds the key.
    bool isHeld(int kind, int key) const;

    /// Waits until no step waits or runs, nor one that `end` has left running.
    /// @return false when some do and `releaseWaiters` has been called
    bool waitUntilIdle();

    /// How long steps have taken from their `arrivedUS` until the last one of the batch had run.
    [[nodiscard]] pa::Durations durations() const;

    /// Ends every wait for space and for the last step, and lets none begin until `begin`.
    void releaseWaiters();

    /// Ends: steps have `limit` to run, the others are dropped. A step that is running by then
    /// continues, and is not waited for.
    /// @return how many steps are dropped
    std::size_t end(std::chrono::milliseconds limit);

    /// Takes steps again after `end`.
    void begin();

private:
    struct State;

    /// Shared with the thread, which may still be in a step when this object is destroyed.
    std::shared_ptr<State> state_;
    unsigned generation_ = pa::forkGeneration();  // of the process that state_ belongs to
};

}  // namespace palink
