// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace palink {

class WakeUp;

/// Looks up the addresses of a host, on a thread of its own: the system's function may take a
/// minute and cannot be interrupted. A look-up that is not wanted any more ends by itself later.
class HostLookup {
public:
    struct Result {
        std::vector<std::string> addresses;  ///< as numbers, the preferred one first
        std::string error;                   ///< for people, when there are none
    };

    /// @param wake is signalled when there is a result
    /// @throws std::system_error when there is no thread for it
    HostLookup(std::string host, const std::shared_ptr<WakeUp>& wake);
    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;
    ~HostLookup();

    /// @return nothing while it is under way
    [[nodiscard]] std::optional<Result> result() const;

private:
    struct State;
    const std::shared_ptr<State> state_;
};

}  // namespace palink
