// SPDX-License-Identifier: Apache-2.0
#include "sdk/host/DropList.h"

#include <new>
#include <utility>

#include "framework/log.h"
#include "sdk/host/requestId.h"

namespace pa {

namespace {

constexpr std::size_t maxBytes = std::size_t{16} << 20U;

/// What a drop takes: the struct, and the block of the identifier.
std::size_t bytesOf(const DroppedOperation& dropped) {
    constexpr std::size_t overhead = 128;
    return dropped.requestId.size() + overhead;
}

}  // namespace

const char* textOf(DroppedOperation::Reason reason) {
    using Reason = DroppedOperation::Reason;
    switch (reason) {
        case Reason::QueueFull:
            return "the send queue is full";
        case Reason::WaitedTooLong:
            return "the link was down";
        case Reason::Stopped:
            return "the link was stopped";
        case Reason::Refused:
            return "the transport has refused it";
        case Reason::Unlisted:
            break;
    }
    return "too many to list each";
}

void report(const DroppedOperation& dropped) {
    if (dropped.reason == DroppedOperation::Reason::Unlisted) {
        handleError(2, "%zu more operations dropped: %s", dropped.count, dropped.text.c_str());
        return;
    }
    const std::string request =
        dropped.requestId.empty() ? "" : " of request >" + dropped.requestId + "<";
    handleError(2, "operation %s%s dropped after %lld ms: %s", textOf(dropped.type).c_str(),
                request.c_str(), static_cast<long long>(dropped.ageMS), dropped.text.c_str());
}

void DropList::add(DroppedOperation::Reason reason, OperationType type,
                   const std::string& payload) noexcept {
    try {
        DroppedOperation dropped;
        dropped.reason = reason;
        dropped.type = type;
        dropped.requestId = requestIdOf(type, payload);
        const std::size_t bytes = bytesOf(dropped);
        if (bytes > maxBytes - bytes_) {
            ++unlisted_;
            return;
        }
        drops_.push_back(std::move(dropped));
        bytes_ += bytes;
    } catch (const std::bad_alloc&) {
        ++unlisted_;
    }
}

std::optional<DroppedOperation> DropList::take() {
    DroppedOperation next;
    if (!drops_.empty()) {
        next = std::move(drops_.front());
        drops_.pop_front();
        bytes_ -= bytesOf(next);
    } else if (unlisted_ > 0) {
        next.reason = DroppedOperation::Reason::Unlisted;
        next.count = std::exchange(unlisted_, 0);
    } else {
        return std::nullopt;
    }
    return next;
}

}  // namespace pa
