#include "link/LanePool.h"

#include <chrono>
#include <exception>
#include <utility>

#include "framework/clock.h"
#include "framework/posixThread.h"

namespace palink {

namespace {

constexpr std::size_t stackBytes = std::size_t{512} * 1024;  // the threads run observers
constexpr std::chrono::seconds idleTime{2};

}  // namespace

LanePool::~LanePool() {
    waitUntilIdle();
    Guard guard(lock_);
    stopping_ = true;
    startable_.notify_all();
    ended_.wait(guard, [this] { return threads_ == 0; });
}

void LanePool::submit(int lane, int key, Job job) {
    Guard guard(lock_);
    ended_.wait(guard, [this] { return waiting_ < mostWaiting; });
    lanes_[lane].waiting.push_back({key, std::move(job)});
    ++waiting_;
    wakeThread();
    if (threads_ == 0) {
        // No thread is to be had: slowly, but it goes on.
        while (runNext(guard)) {
        }
    }
}

void LanePool::waitUntilIdle() {
    Guard guard(lock_);
    ended_.wait(guard, [this] { return waiting_ == 0 && running_ == 0; });
}

std::size_t LanePool::threads() const {
    const Guard guard(lock_);
    return threads_;
}

bool LanePool::canStart(const Lane& lane) {
    return !lane.waiting.empty() && !lane.turnTaken &&
           lane.busyKeys.count(lane.waiting.front().key) == 0;
}

LanePool::Lane* LanePool::startableLane() {
    for (auto& entry : lanes_) {
        if (canStart(entry.second)) {
            return &entry.second;
        }
    }
    return nullptr;
}

/// Runs one job to its end, if any can start.
bool LanePool::runNext(Guard& guard) {
    wakePending_ = false;
    Lane* const lane = startableLane();
    if (lane == nullptr) {
        return false;
    }
    auto [key, job] = std::move(lane->waiting.front());
    lane->waiting.pop_front();
    lane->turnTaken = true;
    lane->busyKeys.insert(key);
    --waiting_;
    ++running_;
    ended_.notify_all();  // there is room for one more
    wakeThread();         // for another lane
    Running running{*this, *lane, key, true};

    guard.unlock();
    setThreadPauseHook(
        [](void* argument) {
            Running& paused = *static_cast<Running*>(argument);
            const Guard hookGuard(paused.pool.lock_);
            paused.pool.passTurn(paused);
        },
        &running);
    job();
    setThreadPauseHook(nullptr, nullptr);
    guard.lock();

    passTurn(running);
    lane->busyKeys.erase(key);
    --running_;
    wakeThread();
    ended_.notify_all();
    return true;
}

void LanePool::passTurn(Running& running) {
    if (std::exchange(running.holdsTurn, false)) {
        running.lane.turnTaken = false;
        wakeThread();
    }
}

/// Sees to it that a thread looks at a job that can start.
void LanePool::wakeThread() {
    if (wakePending_ || startableLane() == nullptr) {
        return;  // whoever takes a job comes here again for the next one
    }
    if (idleThreads_ > 0) {
        wakePending_ = true;
        startable_.notify_one();
        return;
    }
    if (threads_ >= mostThreads) {
        return;  // the next one that ends its job takes it
    }
    try {
        PosixThread thread(
            "record-lane", [this] { threadBody(); }, stackBytes);
        thread.detach();
        ++threads_;
        wakePending_ = true;
    } catch (const std::exception&) {
        // Those that there are must do; submit() helps when there is none.
    }
}

void LanePool::threadBody() {
    Guard guard(lock_);
    while (!stopping_) {
        if (runNext(guard)) {
            continue;
        }
        ++idleThreads_;
        const std::cv_status status = startable_.wait_for(guard, idleTime);
        --idleThreads_;
        if (status == std::cv_status::timeout && startableLane() == nullptr) {
            break;
        }
    }
    --threads_;
    ended_.notify_all();
}

}  // namespace palink
