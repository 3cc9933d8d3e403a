// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>

#include "sdk/DroppedOperation.h"

namespace pa {

/// A reason in words.
const char* textOf(DroppedOperation::Reason reason);

/// Writes the line of a dropped operation to the log.
void report(const DroppedOperation& dropped);

/// The operations that were dropped on an application's thread, until they are reported: bounded by
/// 16 MiB; further ones are counted. A plain value without a lock.
class DropList {
public:
    void add(DroppedOperation::Reason reason, OperationType type,
             const std::string& payload) noexcept;

    /// Takes the next to report; the count of those that were not listed comes last.
    std::optional<DroppedOperation> take();

    bool empty() const { return drops_.empty() && unlisted_ == 0; }

private:
    std::deque<DroppedOperation> drops_;
    std::size_t bytes_ = 0;     // of those that are listed
    std::size_t unlisted_ = 0;  // beyond the bound
};

}  // namespace pa
