// SPDX-License-Identifier: Apache-2.0
#include "client/confirmed.h"

#include <algorithm>

#include "client/ChangeStream.h"

namespace paclient {

namespace {

using State = Confirmation::State;
using palink::ConnectionChange;

/// What the changes say of one request.
class AwaitedAnswer {
public:
    /// @param isAway whether the caches are incomplete at the beginning
    AwaitedAnswer(const ConfirmedRequest& request, bool isAway)
        : request_(request), isAway_(isAway) {}

    void take(const Change& change) {
        if (request_.take) {
            request_.take(change);
        }
        if (const auto* const refusal = std::get_if<palink::Refusal>(&change)) {
            if (isRefusalOf(request_.operations, request_.requestId, *refusal)) {
                end(State::Refused, refusal->reason);
            }
        } else if (const auto* const dropped = std::get_if<pa::DroppedOperation>(&change)) {
            if (isDropOf(request_.operations, request_.requestId, *dropped)) {
                end(State::NotSent, dropped->text);
            }
        } else if (const auto* const connection = std::get_if<ConnectionChange>(&change)) {
            takeConnection(*connection);
        }
    }

    /// What the request has come to; nothing while that is open.
    const std::optional<Confirmation>& result() const { return result_; }

    /// Whether the caches are incomplete: absence of an entry in them shows nothing.
    bool isAway() const { return isAway_; }

    /// Forgets what was refused or dropped before this request is sent.
    void forgetOthers() {
        if (result_ && result_->state != State::ConnectionLost) {
            result_.reset();
        }
    }

    /// How often the connection has been lost.
    int losses() const { return losses_; }

    /// That of a request whose time is up.
    Confirmation timedOut() const {
        return isAway_ ? Confirmation{State::ConnectionLost, reason_}
                       : Confirmation{State::TimedOut};
    }

private:
    void takeConnection(const ConnectionChange& change) {
        if (change.state == ConnectionChange::State::Disconnected) {
            isAway_ = true;
            ++losses_;
            reason_ = change.reason;
            return;
        }
        const bool isSynced = change.state == ConnectionChange::State::Synced;
        if (change.state == ConnectionChange::State::Stopped || (isSynced && losses_ > 0)) {
            end(State::ConnectionLost, reason_);
        }
        isAway_ = isAway_ && !isSynced;
    }

    void end(State state, const std::string& reason) {
        if (!result_) {
            result_ = Confirmation{state, reason};
        }
    }

    const ConfirmedRequest& request_;
    std::optional<Confirmation> result_;
    bool isAway_;  // the connection, or it is not synced
    int losses_ = 0;
    std::string reason_;  // of the last loss
};

bool isOneOf(pa::OperationType operation, const std::vector<pa::OperationType>& operations) {
    return std::find(operations.begin(), operations.end(), operation) != operations.end();
}

}  // namespace

bool isRefusalOf(const std::vector<pa::OperationType>& operations, const std::string& requestId,
                 const palink::Refusal& refusal) {
    return isOneOf(refusal.operation, operations) &&
           (requestId.empty() || refusal.requestId.empty() || refusal.requestId == requestId);
}

bool isDropOf(const std::vector<pa::OperationType>& operations, const std::string& requestId,
              const pa::DroppedOperation& dropped) {
    return isOneOf(dropped.type, operations) &&
           (requestId.empty() || dropped.requestId == requestId);
}

Confirmation confirm(const ConfirmedRequest& request, const Wait& wait) {
    Subscription changes;  // from before the request is sent, so that no early answer is missed
    AwaitedAnswer answer(request, ChangeStream::instance().isAway());
    const auto takeAll = [&] {
        while (const ChangePtr change = changes.next()) {
            answer.take(*change);
        }
    };
    WaitCourse course(wait);
    const auto takeNext = [&](std::chrono::milliseconds limit) {
        if (const ChangePtr change = changes.next(limit)) {
            answer.take(*change);
        }
    };
    if (request.decide) {
        while (answer.isAway()) {
            const auto slice = course.next();
            if (!slice) {
                return {State::NotSent, "there is no connection to the server"};
            }
            takeNext(*slice);
        }
        if (const auto decision = request.decide()) {
            return *decision;
        }
    }
    // A loss is published before the caches are emptied, so what was read before it counts only
    // when none has been published since.
    const auto holds = [&] {
        const int losses = answer.losses();
        const bool isThere = !answer.isAway() && request.holds();
        takeAll();
        return isThere && answer.losses() == losses;
    };
    if (holds()) {
        return {State::AsBefore};
    }
    answer.forgetOthers();
    request.send();
    while (true) {
        takeAll();
        if (holds()) {
            return {State::Done};
        }
        if (answer.result()) {
            return *answer.result();
        }
        const auto slice = course.next();
        if (!slice) {
            return answer.timedOut();
        }
        takeNext(*slice);
    }
}

Confirmation awaitRefusal(ConfirmedRequest request, const Wait& wait) {
    request.holds = [] { return false; };
    return confirm(request, wait);
}

}  // namespace paclient
