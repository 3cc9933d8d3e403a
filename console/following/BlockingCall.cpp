#include "console/following/BlockingCall.h"

#include <mutex>
#include <utility>

namespace console {

struct BlockingCall::State {
    std::mutex lock;
    std::optional<bool> result;  // guarded by lock
};

BlockingCall::BlockingCall(std::function<bool()> call)
    : state_(std::make_shared<State>()),
      thread_("blocking call", [state = state_, call = std::move(call)] {
          const bool result = call();
          const std::lock_guard guard(state->lock);
          state->result = result;
      }) {}

BlockingCall::~BlockingCall() {
    if (!result()) {
        thread_.detach();
    }
}

std::optional<bool> BlockingCall::result() const {
    const std::lock_guard guard(state_->lock);
    return state_->result;
}

}  // namespace console
