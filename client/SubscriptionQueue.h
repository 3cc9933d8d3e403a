// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "client/ChangeStream.h"
#include "framework/eventDescriptor.h"
#include "framework/fork.h"

namespace paclient {

/// What waits for one subscriber.
struct Subscription::Queue {
    Queue(ChangeKinds kindsWanted, std::size_t mostBytes)
        : wanted(kindsWanted), maxBytes(mostBytes), fd(newDescriptor()) {}
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue() { close(fd); }

    static int newDescriptor() {
        const int descriptor = pa::newEventDescriptor(0);
        if (descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), "eventfd");
        }
        return descriptor;
    }

    bool isEmpty() const { return waiting.empty() && lost == 0; }

    void add(const ChangePtr& change, std::size_t size) {
        const std::lock_guard guard(lock);
        const bool wasEmpty = isEmpty();
        // The first one fits whatever its size; what is lost is lost until the rest has been read.
        if (lost > 0 || (!waiting.empty() && bytes + size > maxBytes)) {
            ++lost;
        } else {
            waiting.push_back({change, size});
            bytes += size;
        }
        if (wasEmpty) {
            eventfd_write(fd, 1);
            added.notify_all();
        }
    }

    /// With the lock held.
    ChangePtr take() {
        if (isEmpty()) {
            return nullptr;
        }
        ChangePtr change;
        if (waiting.empty()) {
            change = std::make_shared<const Change>(Lost{std::exchange(lost, 0)});
        } else {
            change = std::move(waiting.front().change);
            bytes -= waiting.front().bytes;
            waiting.pop_front();
        }
        if (isEmpty()) {
            eventfd_t count = 0;
            eventfd_read(fd, &count);
        }
        return change;
    }

    /// In the child of a fork, with the lock held: the descriptor is shared with the parent until
    /// one of the child's own has its number.
    void separateFromParent() {
        pa::forgetWaiters(added);
        const int own = pa::newEventDescriptor(isEmpty() ? 0 : 1);
        if (own >= 0) {
            dup3(own, fd, O_CLOEXEC);
            close(own);
        }
    }

    struct Waiting {
        ChangePtr change;
        std::size_t bytes;
    };

    const ChangeKinds wanted;
    const std::size_t maxBytes;
    const int fd;  // holds 1 while changes wait
    std::mutex lock;
    std::condition_variable added;
    // Guarded by lock.
    std::deque<Waiting> waiting;
    std::size_t bytes = 0;
    std::uint64_t lost = 0;  // after those that wait
};

}  // namespace paclient
