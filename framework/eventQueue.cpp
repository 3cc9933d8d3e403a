#include "framework/eventQueue.h"

#include <deque>
#include <mutex>
#include <sys/eventfd.h>
#include <unistd.h>

using namespace pa;

namespace {

struct Queue {
    std::mutex lock;
    std::deque<EventItem> items;
    std::uint64_t dropped = 0;
    const int fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);  // holds 1 while events wait
};

// Built on first use and never destroyed: the controller's worker outlives static objects.
Queue& queue() {
    static Queue& theQueue = *new Queue;
    return theQueue;
}

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
