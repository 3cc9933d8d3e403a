// SPDX-License-Identifier: Apache-2.0
#include "panel/http/BodySpace.h"

#include "panel/http/ApiError.h"

namespace papanel {

BodySpace::Share BodySpace::take(const std::string& user, std::size_t bytes) {
    constexpr int retrySeconds = 10;
    if (bytes <= longBytes) {
        return nullptr;
    }
    const std::lock_guard guard(lock_);
    const auto found = ofUsers_.find(user);
    const std::size_t own = bytes + (found != ofUsers_.end() ? found->second : 0);
    if (own > bytesOfUser || all_ + bytes > bytesInAll) {
        throw ApiError(503, "overloaded", "too many long requests are coming, try again later",
                       {{"retryAfter", retrySeconds}});
    }
    ofUsers_[user] = own;
    all_ += bytes;
    return {this, [user, bytes](BodySpace* space) { space->release(user, bytes); }};
}

void BodySpace::release(const std::string& user, std::size_t bytes) {
    const std::lock_guard guard(lock_);
    const auto own = ofUsers_.find(user);
    all_ -= bytes;
    own->second -= bytes;
    if (own->second == 0) {
        ofUsers_.erase(own);
    }
}

}  // namespace papanel
