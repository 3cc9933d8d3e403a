// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "client/ChangeStreamState.h"
#include "link/waitAtMost.h"

namespace paclient {

Subscription::Subscription(ChangeKinds wanted, std::size_t maxBytes)
    : queue_(std::make_shared<Queue>(wanted, maxBytes)) {
    ChangeStream::instance().state_.change(
        [this](auto& subscribers) { subscribers.queues.push_back(queue_); });
}

Subscription::~Subscription() {
    ChangeStream::instance().state_.change([this](auto& subscribers) {
        auto& queues = subscribers.queues;
        queues.erase(std::find(queues.begin(), queues.end(), queue_));
    });
}

ChangePtr Subscription::next() {
    const std::lock_guard guard(queue_->lock);
    return queue_->take();
}

ChangePtr Subscription::next(const Wait& wait) {
    WaitCourse course(wait);
    ChangePtr change = next();
    while (change == nullptr) {
        const auto slice = course.next();
        if (!slice) {
            return nullptr;
        }
        change = next(*slice);
    }
    return change;
}

ChangePtr Subscription::next(std::chrono::milliseconds limit) {
    std::unique_lock guard(queue_->lock);
    const auto hasChange = [this] { return !queue_->isEmpty(); };
    palink::waitAtMost(queue_->added, guard, limit, hasChange);
    return queue_->take();
}

std::size_t Subscription::waiting() const {
    const std::lock_guard guard(queue_->lock);
    return queue_->waiting.size() + (queue_->lost > 0 ? 1 : 0);
}

int Subscription::fileDescriptor() const {
    return queue_->fd;
}

Listener::Listener(ChangeKinds wanted, Function function)
    : entry_(std::make_shared<Entry>(wanted)) {
    entry_->slot.set(std::move(function));
    ChangeStream::instance().state_.change(
        [this](auto& subscribers) { subscribers.listeners.push_back(entry_); });
}

Listener::~Listener() {
    ChangeStream::instance().state_.change([this](auto& subscribers) {
        auto& listeners = subscribers.listeners;
        listeners.erase(std::find(listeners.begin(), listeners.end(), entry_));
    });
    entry_->slot.set({});
}

}  // namespace paclient
