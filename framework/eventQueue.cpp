// SPDX-License-Identifier: Apache-2.0
#include "framework/eventQueue.h"

#include <deque>
#include <fcntl.h>
#include <mutex>
#include <sys/eventfd.h>
#include <unistd.h>

#include "framework/earlyObject.h"
#include "framework/eventDescriptor.h"
#include "framework/fork.h"

using namespace pa;

namespace {

struct Queue {
    std::mutex lock;
    std::deque<EventItem> items;
    std::uint64_t dropped = 0;
    const int fd = pa::newEventDescriptor(0);  // holds 1 while events wait

    pa::ForkParticipant acrossFork{pa::ForkRank::EventQueue,
                                   {[this] { lock.lock(); }, [this] { lock.unlock(); },
                                    [this] {
                                        takeOwnDescriptor();
                                        lock.unlock();
                                    }}};

    /// The child of a fork shares the descriptor with its parent. A new one takes the same number,
    /// which the application polls; when the system has none left it stays shared.
    void takeOwnDescriptor() const {
        const int own = pa::newEventDescriptor(items.empty() ? 0 : 1);
        if (own < 0 || fd < 0) {
            return;
        }
        dup3(own, fd, O_CLOEXEC);
        close(own);
    }
};

// Built on first use and never destroyed: the controller's worker outlives static objects.
Queue& queue() {
    static Queue& theQueue = *new Queue;
    return theQueue;
}

PASDK_EARLIEST const pa::MadeEarly made(queue);

}  // namespace

void addNewEventItem(EventItem::EVENT_TYPE type, int key, void* /*data*/) {
    Queue& q = queue();
    const std::lock_guard guard(q.lock);
    if (q.items.size() >= eventQueue::capacity) {
        ++q.dropped;
        return;
    }
    q.items.push_back({type, key});
    if (q.items.size() == 1) {
        eventfd_write(q.fd, 1);
    }
}

namespace pa::eventQueue {

bool next(EventItem& item) {
    Queue& q = queue();
    const std::lock_guard guard(q.lock);
    if (q.items.empty()) {
        return false;
    }
    item = q.items.front();
    q.items.pop_front();
    if (q.items.empty()) {
        eventfd_t waiting = 0;
        eventfd_read(q.fd, &waiting);
    }
    return true;
}

int fileDescriptor() {
    return queue().fd;
}

std::uint64_t dropped() {
    Queue& q = queue();
    const std::lock_guard guard(q.lock);
    return q.dropped;
}

}  // namespace pa::eventQueue
