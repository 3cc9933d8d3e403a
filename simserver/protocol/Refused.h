// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace simserver {

/// The server does not do what is asked; the message is the reason that an operator reads.
class Refused : public std::runtime_error {
public:
    /// @param requestId of the refused request, empty when it has none or it is unknown
    explicit Refused(const std::string& reason, std::string requestId = "")
        : std::runtime_error(reason), requestId_(std::move(requestId)) {}

    const std::string& requestId() const { return requestId_; }

private:
    std::string requestId_;
};

/// The result of `act()`; the reason of a refusal in it begins with `what`.
template <class Act>
auto within(const std::string& what, Act act) {
    try {
        return act();
    } catch (const Refused& refused) {
        throw Refused(what + ": " + refused.what());
    }
}

/// The result of `act()`; a refusal in it names the request.
/// @param requestId read when a refusal passes, so that `act` may set it
template <class Act>
auto forRequest(const std::string& requestId, Act act) {
    try {
        return act();
    } catch (const Refused& refused) {
        throw Refused(refused.what(), requestId);
    }
}

}  // namespace simserver
