// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace simserver {

/// Which client holds each source. A lock that is not renewed lapses: its client may have ended.
/// Passive: real time, in ms, is an argument that never decreases.
class SourceLocks {
public:
    static constexpr std::int64_t lifeMS = 30'000;

    /// Gives a free source to a client, or renews its lock.
    /// @return whether the source was free
    /// @throws Refused when another client holds it
    bool take(int sourceId, const std::string& client, std::int64_t nowMS);

    /// @throws Refused when the client does not hold it
    void renew(int sourceId, const std::string& client, std::int64_t nowMS);

    /// @throws Refused when the client does not hold it
    void release(int sourceId, const std::string& client);

    /// The client's UUID, empty for none.
    std::string holderOf(int sourceId) const;

    /// When a lock lapses next; nothing when there is none.
    std::optional<std::int64_t> nextLapse() const;

    /// Ends every lock whose time has come.
    /// @return the sources
    std::vector<int> lapse(std::int64_t nowMS);

private:
    struct Lock {
        std::string client;
        std::int64_t lapsesMS = 0;
    };

    void requireHeldBy(const std::string& client, int sourceId) const;

    std::map<int, Lock> locks_;  // by source
};

}  // namespace simserver
