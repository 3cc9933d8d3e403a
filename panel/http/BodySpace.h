// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace papanel {

/// How much memory the long bodies of requests have, of those that are still coming and of those
/// that are worked on. May be used from any thread.
class BodySpace {
public:
    static constexpr std::size_t bytesInAll = std::size_t{256} << 20U;
    static constexpr std::size_t bytesOfUser = std::size_t{128} << 20U;
    /// Shorter bodies need no space: the number of connections limits them.
    static constexpr std::size_t longBytes = std::size_t{256} << 10U;

    /// The space is taken while this lives, within the life of the whole.
    using Share = std::shared_ptr<void>;

    /// @return null for a short body
    /// @throws ApiError overloaded, when there is not enough left
    [[nodiscard]] Share take(const std::string& user, std::size_t bytes);

private:
    void release(const std::string& user, std::size_t bytes);

    std::mutex lock_;
    // Guarded by lock_.
    std::size_t all_ = 0;
    std::map<std::string, std::size_t> ofUsers_;
};

}  // namespace papanel
