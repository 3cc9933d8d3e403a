// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "../sdk/operations.h"
#include "Change.h"
#include "Wait.h"

/// @file
/// How an operation is confirmed: it is sent, then its effect, a refusal, the loss of the operation
/// or of the connection, or the limit ends the wait.

namespace paclient {

/// An operation whose effect is reported.
struct ConfirmedRequest {
    /// What the server may refuse of it.
    std::vector<pa::OperationType> operations;
    /// Queues the operations.
    std::function<void()> send;
    /// Whether the effect is there. Called before anything is sent, then after every change and in
    /// each tick of the wait, since not everything that is reported is a change; not while the
    /// caches are incomplete, so that it may take the absence of an entry for the effect.
    std::function<bool()> holds;
    /// Decides by the caches that nothing is to be sent. Called when they are complete, which is
    /// waited for. May be empty, and may throw.
    std::function<std::optional<Confirmation>()> decide{};
    /// Receives every change that follows the subscription, for an effect that only changes show.
    /// May be empty.
    std::function<void(const Change& change)> take{};
    /// The refusal of another request is none of this one. Empty when the operation has no id.
    std::string requestId{};
};

/// Whether a refusal, or a drop, is of an operation of this request. A refusal without an id is
/// taken to be of every request that it can be of.
PA_API bool isRefusalOf(const std::vector<pa::OperationType>& operations,
                        const std::string& requestId, const palink::Refusal& refusal);
/// The same for a drop.
PA_API bool isDropOf(const std::vector<pa::OperationType>& operations, const std::string& requestId,
                     const pa::DroppedOperation& dropped);

/// Sends a request and waits for its effect.
///
/// A connection that is lost is waited for. When the caches are complete again they show the effect
/// (`Done`), or the outcome is unknown (`ConnectionLost`). An effect that is there counts more than
/// a refusal or a drop, which may be those of a similar request of another thread.
///
/// May be called from any thread, but not from a callback.
/// @throws whatever `decide` or `send` throws: then nothing has been sent; whatever
///         `wait.whileWaiting` throws: then the outcome is unknown
PA_API Confirmation confirm(const ConfirmedRequest& request, const Wait& wait);

/// Sends an operation whose effect nothing reports, and waits for a refusal.
/// @return `TimedOut` when there was none within the limit: the outcome is unknown, but a server
///         that refuses at once has not refused; else as above
PA_API Confirmation awaitRefusal(ConfirmedRequest request, const Wait& wait);

}  // namespace paclient
