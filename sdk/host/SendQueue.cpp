// SPDX-License-Identifier: Apache-2.0
#include "sdk/host/SendQueue.h"

#include <utility>

using namespace pa;

namespace {

std::size_t bytesOf(const Operation& operation) {
    return operation.payload.size() + SendQueue::overhead;
}

}  // namespace

bool SendQueue::push(Operation&& operation, std::int64_t nowMS) {
    const std::size_t bytes = bytesOf(operation);
    if (bytes_ > maxBytes_ || bytes > maxBytes_ - bytes_) {
        return false;
    }
    waiting_.emplace_back();  // the one step that can throw
    waiting_.back().operation = std::move(operation);
    waiting_.back().since = nowMS;
    bytes_ += bytes;
    return true;
}

bool SendQueue::isFrontTooOld(std::int64_t nowMS) const {
    return nowMS - front().since > maxWait_.count();
}

void SendQueue::pop() {
    bytes_ -= bytesOf(front().operation);
    waiting_.pop_front();
}
