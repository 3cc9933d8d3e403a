#include "sdk/SendQueue.h"

#include <utility>

bool SendQueue::push(Operation operation, std::int64_t nowMS) {
    if (waiting_.size() >= capacity_) {
        return false;
    }
    waiting_.push_back({std::move(operation), nowMS});
    return true;
}

std::optional<Operation> SendQueue::pop() {
    if (waiting_.empty()) {
        return std::nullopt;
    }
    poppedSince_ = waiting_.front().since;
    Operation operation = std::move(waiting_.front().operation);
    waiting_.pop_front();
    return operation;
}

void SendQueue::putBack(Operation operation) {
    waiting_.push_front({std::move(operation), poppedSince_});
}

std::vector<SendQueue::Dropped> SendQueue::dropExpired(std::int64_t nowMS) {
    std::vector<Dropped> dropped;
    while (!waiting_.empty() && nowMS - waiting_.front().since > maxWait_.count()) {
        dropped.push_back({std::move(waiting_.front().operation), nowMS - waiting_.front().since});
        waiting_.pop_front();
    }
    return dropped;
}
