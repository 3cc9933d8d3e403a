// SPDX-License-Identifier: Apache-2.0
#include "link/Notifier.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory_resource>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "framework/clock.h"
#include "framework/posixThread.h"

namespace palink {

namespace {

/// How many steps for a kind and a key wait or run, and how many of these hold the key.
struct Count {
    std::size_t steps = 0;
    std::size_t holding = 0;
};

std::uint64_t index(int kind, int key) {
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(kind)) << 32) |
           static_cast<std::uint32_t>(key);
}

}  // namespace

struct Notifier::State {
    using Guard = std::unique_lock<std::mutex>;

    Count countOf(int kind, int key) const {
        const auto found = counts.find(index(kind, key));
        return found == counts.end() ? Count{} : found->second;
    }

    bool isIdle() const { return steps.empty() && !isRunning && leftRunning == 0; }
    bool hasSpace() const { return bytes < capacity * stepBytes; }

    /// Counts a step that has run; after the last one of its batch, with the time until then.
    void measure(const Step& step) {
        if (step.arrivedUS == 0) {
            return;
        }
        ++unmeasured;
        if (steps.empty() || steps.front().arrivedUS != step.arrivedUS) {
            durations.add(std::chrono::microseconds(pa::monotonicUS() - step.arrivedUS),
                          std::exchange(unmeasured, 0));
        }
    }

    /// Waits for the time of the first step and runs it.
    /// @return false when the notifier was ended meanwhile
    bool runNext(Guard& guard) {
        const unsigned round = ends;
        if (const std::int64_t wait = steps.front().dueMS - pa::monotonicMS(); wait > 0) {
            guard.unlock();
            sleepMS(static_cast<int>(std::min(wait, longestWaitMS)));
            guard.lock();
            if (ends != round) {
                return false;
            }
        }
        const Step step = std::move(steps.front());
        steps.pop_front();
        const bool hadSpaceAgain = bytes <= spaceAgain;
        bytes -= stepBytes + step.bytes;
        if (!hadSpaceAgain && bytes <= spaceAgain) {
            changed.notify_all();
        }
        isRunning = true;
        guard.unlock();
        step.run(step);
        guard.lock();
        if (ends != round) {
            --leftRunning;
            changed.notify_all();
            return false;
        }
        isRunning = false;
        measure(step);
        const auto count = counts.find(index(step.kind, step.key));
        count->second.holding -= step.holdsKey ? 1 : 0;
        holding -= step.holdsKey ? 1 : 0;
        if (--count->second.steps == 0) {
            counts.erase(count);
        }
        if (steps.empty()) {
            changed.notify_all();
        }
        return true;
    }

    void threadBody(unsigned round) {
        Guard guard(lock);
        do {
            added.wait(guard, [&] { return ends != round || !steps.empty(); });
        } while (ends == round && runNext(guard));
    }

    /// The bytes at which a wait for space ends, so that it is not woken for each step.
    static constexpr std::size_t spaceAgain = capacity * stepBytes / 4 * 3;

    std::mutex lock;
    std::condition_variable added;    // for the thread
    std::condition_variable changed;  // there is space, the last step has run, or waits are over
    pa::DurationCounts durations;
    // Guarded by lock.
    std::pmr::unsynchronized_pool_resource blocks;  // of the containers, used again
    std::pmr::deque<Step> steps{&blocks};
    std::atomic<std::size_t> bytes{0};    // of the steps; also read without the lock
    std::atomic<std::size_t> holding{0};  // steps that hold a key; also read without the lock
    std::pmr::unordered_map<std::uint64_t, Count> counts{&blocks};
    std::uint64_t unmeasured = 0;  // steps that have run of a batch that has not
    unsigned ends = 0;  // counts the calls of `end`: the thread of an earlier round leaves
    bool hasThread = false;
    bool isRunning = false;
    int leftRunning = 0;  // steps that were running at an end
    bool released = false;
};

Notifier::Notifier() : state_(std::make_shared<State>()) {}

Notifier::~Notifier() {
    end(std::chrono::milliseconds(0));
}

bool Notifier::waitForSpace() {
    State& state = *state_;
    if (state.hasSpace()) {
        return true;
    }
    State::Guard guard(state.lock);
    state.changed.wait(guard, [&] { return state.hasSpace() || state.released; });
    return state.hasSpace();
}

void Notifier::add(Step step) {
    State& state = *state_;
    State::Guard guard(state.lock);
    Count& count = state.counts[index(step.kind, step.key)];
    const std::size_t holding = step.holdsKey ? 1 : 0;
    const std::size_t bytes = stepBytes + step.bytes;
    state.steps.push_back(std::move(step));
    state.bytes += bytes;
    state.holding += holding;
    ++count.steps;
    count.holding += holding;
    if (!state.hasThread) {
        try {
            pa::PosixThread thread(
                "notifier", [shared = state_, round = state.ends] { shared->threadBody(round); });
            thread.detach();
            state.hasThread = true;
        } catch (const std::exception&) {
            // Without a thread: later, but not lost.
            while (!state.steps.empty() && state.runNext(guard)) {
            }
            return;
        }
    }
    const bool isFirst = state.steps.size() == 1;
    guard.unlock();  // the thread that is woken takes it
    if (isFirst) {
        state.added.notify_one();
    }
}

bool Notifier::concerns(int kind, int key) const {
    const State::Guard guard(state_->lock);
    return state_->countOf(kind, key).steps > 0;
}

bool Notifier::isHeld(int kind, int key) const {
    if (state_->holding == 0) {
        return false;
    }
    const State::Guard guard(state_->lock);
    return state_->countOf(kind, key).holding > 0;
}

bool Notifier::waitUntilIdle() {
    State& state = *state_;
    State::Guard guard(state.lock);
    state.changed.wait(guard, [&] { return state.isIdle() || state.released; });
    return state.isIdle();
}

pa::Durations Notifier::durations() const {
    return state_->durations.read();
}

void Notifier::releaseWaiters() {
    const State::Guard guard(state_->lock);
    state_->released = true;
    state_->changed.notify_all();
}

std::size_t Notifier::end(std::chrono::milliseconds limit) {
    if (generation_ != pa::forkGeneration()) {
        return 0;  // in the child of a fork the lock may never be released
    }
    State& state = *state_;
    State::Guard guard(state.lock);
    constexpr std::chrono::milliseconds longestLimit = std::chrono::hours(24);
    state.changed.wait_for(guard, std::min(limit, longestLimit), [&] { return state.isIdle(); });
    const std::size_t dropped = state.steps.size();
    state.steps.clear();
    state.bytes = 0;
    state.holding = 0;
    state.counts.clear();
    state.unmeasured = 0;
    ++state.ends;
    state.hasThread = false;
    state.leftRunning += state.isRunning ? 1 : 0;
    state.isRunning = false;
    state.released = true;
    state.changed.notify_all();
    state.added.notify_all();
    return dropped;
}

void Notifier::begin() {
    if (generation_ != pa::forkGeneration()) {
        state_ = std::make_shared<State>();
        generation_ = pa::forkGeneration();
    }
    const State::Guard guard(state_->lock);
    state_->released = false;
}

}  // namespace palink
