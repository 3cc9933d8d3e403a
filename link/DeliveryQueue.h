// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "../framework/api.h"
#include "../framework/posixThread.h"
#include "Transport.h"

namespace palink {

/// What a server has reported, on its way to a sink: events wait in a queue and are delivered on a
/// thread of its own, in their order. The queue is bounded by memory: while it is full the threads
/// that add to it wait, until half of it has been delivered; not so the delivery thread itself, and
/// none while an upload is under way.
///
/// `start` and `stop` are called by one thread; the other functions by any.
class PA_API DeliveryQueue {
public:
    /// How much may wait, by default: about 16,000 records of 1 KB.
    static constexpr std::size_t defaultMaxBytes = std::size_t{16} << 20U;

    /// Asked for each event, in the order of the queue, after the wait for space: whether it is
    /// queued. Called with the lock of the queue, of which it must call nothing.
    using Admission = std::function<bool(const ServerEvent&)>;

    /// @param threadName at most 15 bytes are kept
    /// @param maxBytes   how much may wait, by an estimate of its size
    DeliveryQueue(const char* threadName, std::size_t maxBytes, Admission admission);
    DeliveryQueue(const DeliveryQueue&) = delete;
    DeliveryQueue& operator=(const DeliveryQueue&) = delete;
    ~DeliveryQueue();

    /// Begins to take events and to deliver them.
    /// @param sink is called without a lock
    void start(ServerEventSink& sink);

    /// Drops what waits, takes nothing more, and ends every wait. The sink may still have one
    /// event.
    void close();

    /// As `close`, and waits until the sink has returned. Does nothing when it is stopped.
    void stop();

    /// Adds an event, when there is space. Dropped when the queue is closed.
    void add(ServerEvent event);

    /// As `add`, but the delivery may wait for `wake`: for a thread that adds many events one after
    /// the other, which it would interrupt again and again.
    void addWithoutWaking(ServerEvent event);

    /// Has everything delivered that was added.
    void wake();

    /// Waits until everything that has been added so far, by other threads too, has been delivered.
    /// Not to be called by the sink.
    void waitUntilDelivered();

    /// How many events wait.
    [[nodiscard]] std::size_t size() const;

    /// As long as one lives the queue takes what comes: the thread that uploads may hold what the
    /// sink needs, and the server, or its connection, must be free to take the file.
    class Upload {
    public:
        explicit Upload(DeliveryQueue& queue);
        Upload(const Upload&) = delete;
        Upload& operator=(const Upload&) = delete;
        ~Upload();

    private:
        DeliveryQueue& queue_;
    };

private:
    /// How many events are delivered without the lock of the queue in between.
    static constexpr std::size_t batch = 64;

    struct Waiting {
        ServerEvent event;
        std::size_t bytes;
        std::int64_t arrivedUS;  // of the first one of a batch: before those after it
    };

    void run(ServerEventSink& sink);
    void deliver(ServerEventSink& sink, std::unique_lock<std::mutex>& guard);
    void countUpload(int more);

    const char* const threadName_;
    const std::size_t maxBytes_;
    const Admission admission_;
    // Of start and stop only.
    std::unique_ptr<pa::PosixThread> thread_;
    unsigned generation_ = pa::forkGeneration();  // of the process that has started it

    mutable std::mutex lock_;
    std::condition_variable arrived_;     // an event
    std::condition_variable spaceFreed_;  // for more events
    std::condition_variable delivered_;   // everything
    // Guarded by lock_.
    std::atomic<bool> running_{false};  // also read without it
    std::vector<Waiting> queue_;
    std::vector<Waiting> spare_;  // empty: the memory for what comes after the next delivery
    std::size_t bytes_ = 0;       // of what is in queue_ and waits in the delivery thread
    bool full_ = false;
    int uploads_ = 0;             // under way
    std::size_t heldBack_ = 0;    // threads that wait for space
    std::size_t delivering_ = 0;  // how many the delivery thread has taken
    std::thread::id deliveryThread_;
};

}  // namespace palink
