#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "framework/posixThread.h"

namespace console {

/// A call that waits for the server by itself, on a thread of its own, so that the console still
/// hears the user. When the object goes first, the call goes on and nobody hears of its result.
class BlockingCall {
public:
    /// Begins the call, which must use nothing that may go before the process does.
    explicit BlockingCall(std::function<bool()> call);
    BlockingCall(const BlockingCall&) = delete;
    BlockingCall& operator=(const BlockingCall&) = delete;
    ~BlockingCall();

    /// What it has returned, nothing while it waits.
    std::optional<bool> result() const;

private:
    struct State;

    std::shared_ptr<State> state_;
    pa::PosixThread thread_;
};

}  // namespace console
