#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "framework/fork.h"

namespace palink {

/// Runs steps that wait for their time, in the order in which they were added, on one thread of its
/// own. A step waits for those before it, whatever its own time.
///
/// Each step concerns a kind and a key. Whoever adds steps asks first whether some wait for the
/// same kind and key: `concerns` for a step that must come behind them, `isHeld` for what must come
/// behind a step that holds its key.
///
/// Every function may be called from any thread but from a step; `begin` and `end` by one thread.
/// When the system has no thread, steps run inside `add`, on the thread that adds them.
class Notifier {
public:
    /// One step. Must not throw.
    using Job = std::function<void()>;

    struct Step {
        int kind = 0;
        int key = 0;
        std::int64_t dueMS = 0;  ///< by `monotonicMS`; one that is past: as soon as its turn comes
        bool holdsKey = false;   ///< what concerns the key waits behind it
        Job run{};
        std::size_t bytes = 0;  ///< what the job holds beside itself
    };

    /// What a step takes, about, beside what its job holds.
    static constexpr std::size_t stepBytes = 100;

    /// The most steps that wait when their jobs hold nothing: there is room up to this number of
    /// times `stepBytes`.
    static constexpr std::size_t capacity = 100'000;

    /// The longest time for which a step is waited for, in ms, should the clock jump.
    static constexpr std::int64_t longestWaitMS = 100;

    Notifier();
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;
    /// As `end` with no time to wait.
    ~Notifier();

    /// Waits until there is room for more steps.
    /// @return false when there is none and `letGo` has been called
    bool waitForRoom();

    /// Adds a step, also when there is no room.
    void add(Step step);

    /// Whether a step for the kind and the key waits or runs.
    bool concerns(int kind, int key) const;

    /// Whether one of these holds the key.
    bool isHeld(int kind, int key) const;

    /// Waits until no step waits or runs, nor one that `end` has left running.
    /// @return false when some do and `letGo` has been called
    bool waitUntilIdle();

    /// Nobody waits any more for room or for the last step, until `begin`.
    void letGo();

    /// Ends: steps have `limit` to run, the others are dropped. A step that is running by then goes
    /// on, and is not waited for.
    /// @return how many steps are dropped
    std::size_t end(std::chrono::milliseconds limit);

    /// Takes steps anew after `end`.
    void begin();

private:
    struct State;

    /// Shared with the thread, which may still be in a step when this object is gone.
    std::shared_ptr<State> state_;
    unsigned generation_ = pa::forkGeneration();  // of the process that state_ belongs to
};

}  // namespace palink
