// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "client/ChangeStream.h"
#include "client/Wait.h"

/// @file
/// What the stream reports of one request, and what became of it, as text for tables of cases.

namespace paclient {

/// The id of the request.
inline const std::string ownId = "request-1";

inline pa::DroppedOperation drop(pa::OperationType operation, const std::string& id) {
    return {{}, operation, id, "the link was stopped", 0, 1};
}

/// A change as a word: one of the table, or one of a record of the request: "1:Playing" with this
/// state, "1=0" over with this completion code, "-1" withdrawn.
inline Change changeNamed(const std::string& word) {
    using palink::Refusal;
    using Link = palink::ConnectionChange::State;
    using namespace pa::operations;
    static const std::map<std::string, Change> table = {
        {"lost", palink::ConnectionChange{Link::Disconnected, 1, "cable"}},
        {"connected", palink::ConnectionChange{Link::Connected, 1, "cable"}},
        {"synced", palink::ConnectionChange{Link::Synced, 1, "cable"}},
        {"stopped", palink::ConnectionChange{Link::Stopped, 1, "cable"}},
        {"refused", Refusal{playMessage, "", "not now"}},
        {"own-refused", Refusal{playMessage, ownId, "not now"}},
        {"other-refused", Refusal{playMessage, "request-2", "not now"}},
        {"cancel-refused", Refusal{cancelMessage, ownId, "not now"}},
        {"own-dropped", drop(playMessage, ownId)},
        {"other-dropped", drop(playMessage, "request-2")},
        {"cancel-dropped", drop(cancelMessage, ownId)},
    };
    if (const auto found = table.find(word); found != table.end()) {
        return found->second;
    }
    AnnouncementRequest record;
    record.setRequestID(ownId);
    if (word.at(0) == '-') {
        record.id = word.at(1) - '0';
        return Deleted<AnnouncementRequest>{record};
    }
    record.id = word.at(0) - '0';
    (word.at(1) == '=' ? record.completionCode : record.stateText) = word.substr(2);
    return Updated<AnnouncementRequest>{record};
}

/// Publishes a change for each word.
inline void publish(const std::string& text) {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        ChangeStream::instance().publish(changeNamed(word));
    }
}

/// For example "refused: not now".
inline std::string textOf(const Confirmation& confirmation) {
    static const char* const states[] = {"done",     "as before",       "refused",
                                         "not sent", "connection lost", "timed out"};
    const std::string state = states[static_cast<int>(confirmation.state)];
    return state + (confirmation.reason.empty() ? "" : ": " + confirmation.reason);
}

/// Runs operations one after the other. An expectation that ends in "..." is a beginning.
inline void expectConfirmations(
    const std::vector<std::pair<std::function<Confirmation()>, std::string>>& steps) {
    for (const auto& [run, expected] : steps) {
        const std::size_t dots = expected.find("...");
        EXPECT_EQ(textOf(run()).substr(0, dots), expected.substr(0, dots)) << expected;
    }
}

}  // namespace paclient
