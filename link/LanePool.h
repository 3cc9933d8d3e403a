#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>

namespace palink {

/// Runs jobs that pause (`sleepMS`) side by side, without losing their order.
///
/// Each lane keeps three promises: jobs start in order of arrival; the next one starts when the one
/// before has reached its pause or its end; jobs with the same key run one after the other. The
/// pool grows to as many threads as there are pauses to overlap and shrinks again when it is idle.
///
/// Every function may be called from any thread but those of the pool.
class LanePool {
public:
    using Job = std::function<void()>;

    LanePool() = default;
    LanePool(const LanePool&) = delete;
    LanePool& operator=(const LanePool&) = delete;
    /// Waits for every job.
    ~LanePool();

    /// Queues a job, which must not throw. Blocks while too many wait. Runs what waits itself when
    /// the system has no thread for it.
    void submit(int lane, int key, Job job);

    /// Waits until every job has ended.
    void waitUntilIdle();

    /// How many threads there are now.
    std::size_t threads() const;

    static constexpr std::size_t mostThreads = 256;

private:
    struct Waiting {
        int key;
        Job job;
    };
    struct Lane {
        std::deque<Waiting> waiting;  // in order of arrival
        bool turnTaken = false;       // a job has started and not yet reached its pause
        std::set<int> busyKeys;
    };
    /// A job that a thread of the pool runs.
    struct Running {
        LanePool& pool;
        Lane& lane;
        int key;
        bool holdsTurn;
    };
    using Guard = std::unique_lock<std::mutex>;

    static bool canStart(const Lane& lane);
    Lane* startableLane();
    bool runNext(Guard& guard);
    void passTurn(Running& running);
    void wakeThread();
    void threadBody();

    static constexpr std::size_t mostWaiting = 4096;

    mutable std::mutex lock_;
    std::condition_variable startable_;  // for idle threads
    std::condition_variable ended_;      // a job or a thread has ended
    // Guarded by lock_.
    std::map<int, Lane> lanes_;
    std::size_t waiting_ = 0;
    std::size_t running_ = 0;
    std::size_t threads_ = 0;
    std::size_t idleThreads_ = 0;
    bool wakePending_ = false;  // a thread has been made or woken and has not looked for a job yet
    bool stopping_ = false;
};

}  // namespace palink
