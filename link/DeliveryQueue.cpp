// SPDX-License-Identifier: Apache-2.0
#include "link/DeliveryQueue.h"

#include <algorithm>
#include <string>
#include <utility>

#include "framework/clock.h"
#include "framework/fork.h"

namespace palink {

namespace {

constexpr std::size_t block = 16;  // what the allocator keeps of a block, rounding included

/// What a text takes beside the object itself.
std::size_t heapBytes(const std::string& text) {
    static const std::size_t inside = std::string().capacity();
    return text.capacity() > inside ? text.capacity() + block : 0;
}

struct HeapBytes {
    std::size_t operator()(const Connected& connected) const {
        constexpr std::size_t perEntry = 256;
        return connected.serverInfo.size() * perEntry;
    }
    std::size_t operator()(const Disconnected& disconnected) const {
        return heapBytes(disconnected.reason);
    }
    std::size_t operator()(const Record& record) const { return record.fields.heapBytes() + block; }
    std::size_t operator()(const Refusal& refusal) const {
        return heapBytes(refusal.requestId) + heapBytes(refusal.reason);
    }
    template <class Plain>
    std::size_t operator()(const Plain& /*event*/) const {
        return 0;
    }
};

}  // namespace

DeliveryQueue::DeliveryQueue(const char* threadName, std::size_t maxBytes, Admission admission)
    : threadName_(threadName), maxBytes_(maxBytes), admission_(std::move(admission)) {}

DeliveryQueue::~DeliveryQueue() {
    stop();
}

void DeliveryQueue::start(ServerEventSink& sink) {
    generation_ = pa::forkGeneration();
    {
        const std::lock_guard guard(lock_);
        running_ = true;
    }
    thread_ = std::make_unique<pa::PosixThread>(threadName_, [this, &sink] { run(sink); });
}

void DeliveryQueue::close() {
    const std::lock_guard guard(lock_);
    running_ = false;
    queue_.clear();
    bytes_ = 0;
    full_ = false;
    arrived_.notify_all();
    spaceFreed_.notify_all();
    delivered_.notify_all();
}

void DeliveryQueue::stop() {
    if (generation_ != pa::forkGeneration()) {
        // In the child of a fork: it has no such thread, and the lock may never be given back.
        for (std::condition_variable* const waitedFor : {&arrived_, &spaceFreed_, &delivered_}) {
            pa::forgetWaiters(*waitedFor);
        }
    } else {
        close();
    }
    thread_.reset();
}

void DeliveryQueue::add(ServerEvent event) {
    addWithoutWaking(std::move(event));
    wake();
}

void DeliveryQueue::addWithoutWaking(ServerEvent event) {
    const std::size_t bytes = sizeof(Waiting) + std::visit(HeapBytes{}, event);
    std::unique_lock guard(lock_);
    const std::int64_t arrivedUS =
        full_ || queue_.size() % batch == 0 ? pa::monotonicUS() : std::int64_t{0};
    if (full_ && std::this_thread::get_id() != deliveryThread_) {
        ++heldBack_;
        arrived_.notify_one();
        spaceFreed_.wait(guard, [this] { return !running_ || !full_ || uploads_ > 0; });
        --heldBack_;
    }
    if (!running_ || !admission_(event)) {
        delivered_.notify_all();
        return;
    }
    queue_.push_back({std::move(event), bytes, arrivedUS});
    bytes_ += bytes;
    full_ = full_ || bytes_ >= maxBytes_;  // until half of it has been delivered
}

void DeliveryQueue::wake() {
    arrived_.notify_one();
}

void DeliveryQueue::waitUntilDelivered() {
    std::unique_lock guard(lock_);
    delivered_.wait(guard, [this] { return queue_.empty() && heldBack_ == 0 && delivering_ == 0; });
}

std::size_t DeliveryQueue::size() const {
    const std::lock_guard guard(lock_);
    return queue_.size() + delivering_;
}

void DeliveryQueue::run(ServerEventSink& sink) {
    std::unique_lock guard(lock_);
    deliveryThread_ = std::this_thread::get_id();
    while (true) {
        arrived_.wait(guard, [this] { return !running_ || !queue_.empty(); });
        if (!running_) {
            break;
        }
        deliver(sink, guard);
        if (queue_.empty()) {
            delivered_.notify_all();
        }
    }
    deliveryThread_ = {};
}

/// Takes everything that waits, and delivers it. The lock is taken once for some events: threads
/// that wait for it cost more than what it guards.
void DeliveryQueue::deliver(ServerEventSink& sink, std::unique_lock<std::mutex>& guard) {
    constexpr std::size_t mostSpare = 1024;
    std::vector<Waiting> taken;
    taken.swap(queue_);
    queue_.swap(spare_);
    delivering_ = taken.size();
    for (auto next = taken.begin(); next != taken.end() && running_;) {
        const auto end = next + std::min<std::ptrdiff_t>(batch, taken.end() - next);
        std::size_t bytes = 0;
        guard.unlock();
        sink.beginBatch(next->arrivedUS);
        for (; next != end && running_; ++next) {
            bytes += next->bytes;
            sink.deliver(std::move(next->event));
        }
        sink.endBatch();
        guard.lock();
        delivering_ = static_cast<std::size_t>(taken.end() - next);
        bytes_ -= std::min(bytes, bytes_);
        if (full_ && bytes_ <= maxBytes_ / 2) {
            full_ = false;
            spaceFreed_.notify_all();
        }
    }
    delivering_ = 0;
    if (taken.capacity() <= mostSpare) {
        taken.clear();
        spare_.swap(taken);
    }
}

void DeliveryQueue::countUpload(int more) {
    const std::lock_guard guard(lock_);
    uploads_ += more;
    spaceFreed_.notify_all();
}

DeliveryQueue::Upload::Upload(DeliveryQueue& queue) : queue_(queue) {
    queue_.countUpload(1);
}

DeliveryQueue::Upload::~Upload() {
    queue_.countUpload(-1);
}

}  // namespace palink
