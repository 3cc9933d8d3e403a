// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "operations.h"

namespace pa {

/// An operation that does not reach the server. A plain value.
struct DroppedOperation {
    /// Why it is dropped.
    enum class Reason {
        QueueFull,      ///< the send queue is full, or memory is short
        WaitedTooLong,  ///< the link was down for longer than an operation may wait
        Stopped,        ///< the link was stopped before it could be sent
        Refused,        ///< the transport threw
        Unlisted        ///< several at once, of which only their number is known
    };

    Reason reason = Reason::Stopped;  ///< why it is dropped
    OperationType type;               ///< 0/0 when unlisted
    std::string requestId;            ///< empty when the operation has none, or it cannot be read
    std::string text;                 ///< the reason in words
    std::int64_t ageMS = 0;           ///< how long it has waited
    std::size_t count = 1;            ///< number of operations; above 1 only when unlisted
};

}  // namespace pa
