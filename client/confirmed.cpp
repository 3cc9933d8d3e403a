#include "client/confirmed.h"

#include <algorithm>

#include "client/ChangeStream.h"

namespace paclient {

namespace {

using State = Confirmation::State;
using palink::ConnectionChange;

/// What the changes say of one request.
class Answer {
public:
    explicit Answer(const ConfirmedRequest& request) : request_(request) {}

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

    /// That of a request whose time is up.
    Confirmation timedOut() const {
        return isAway_ ? Confirmation{State::ConnectionLost, reason_}
                       : Confirmation{State::TimedOut};
    }

private:
    void takeConnection(const ConnectionChange& change) {
        if (change.state == ConnectionChange::State::Disconnected) {
            isAway_ = true;
            reason_ = change.reason;
        } else if (change.state == ConnectionChange::State::Stopped ||
                   (change.state == ConnectionChange::State::Synced && isAway_)) {
            end(State::ConnectionLost, reason_);
        }
    }

    void end(State state, const std::string& reason) {
        if (!result_) {
            result_ = Confirmation{state, reason};
        }
    }

    const ConfirmedRequest& request_;
    std::optional<Confirmation> result_;
    bool isAway_ = false;  // the connection
    std::string reason_;   // of its loss
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
    if (request.holds()) {
        return {State::AsBefore};
    }
    Answer answer(request);
    request.send();
    WaitCourse course(wait);
    while (true) {
        while (const ChangePtr change = changes.next()) {
            answer.take(*change);
        }
        const bool holds = request.holds();
        const auto& result = answer.result();
        if (result && result->state == State::ConnectionLost) {
            return holds ? Confirmation{State::Done} : *result;
        }
        if (result) {
            return *result;
        }
        if (holds) {
            return {State::Done};
        }
        const auto slice = course.next();
        if (!slice) {
            return answer.timedOut();
        }
        if (const ChangePtr change = changes.next(*slice)) {
            answer.take(*change);
        }
    }
}

Confirmation awaitRefusal(ConfirmedRequest request, const Wait& wait) {
    request.holds = [] { return false; };
    return confirm(request, wait);
}

}  // namespace paclient
