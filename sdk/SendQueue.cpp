#include "sdk/SendQueue.h"

#include <utility>

using namespace pa;

bool SendQueue::push(Operation operation, std::int64_t nowMS) {
    if (waiting_.size() >= capacity_) {
        return false;
    }
    waiting_.push_back({std::move(operation), nowMS});
    return true;
}

std::optional<SendQueue::Waiting> SendQueue::pop() {
    if (waiting_.empty()) {
        return std::nullopt;
    }
    Waiting taken = std::move(waiting_.front());
    waiting_.pop_front();
    return taken;
}

void SendQueue::putBack(Waiting taken) {
    waiting_.push_front(std::move(taken));
}

std::vector<SendQueue::Waiting> SendQueue::takeExpired(std::int64_t nowMS) {
    std::vector<Waiting> expired;
    while (!waiting_.empty() && nowMS - waiting_.front().since > maxWait_.count()) {
        expired.push_back(*pop());
    }
    return expired;
}
