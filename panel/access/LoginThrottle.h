// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace papanel {

/// Slows down those who try passwords. From the fifth failed login on, an address has to wait
/// before its next one, and so has a user name: for a second, then twice as long after each further
/// failure, up to five minutes. A login that is refused for that reason is no failure. A failure is
/// forgotten a quarter of an hour after the last one.
///
/// The pause of a user name does not concern an address without a failure of its own, so failures
/// from elsewhere, however many, do not keep a user out: a right password counts at the first
/// attempt. An IPv6 address counts as its network of 64 bits. Unknown user names are treated
/// as the others. May be called from any thread.
class LoginThrottle {
public:
    static constexpr std::size_t mostKept = 4096;  ///< addresses, and as many user names

    /// @throws ApiError throttled, with the member `retryAfter` in seconds
    void check(const std::string& user, const std::string& address);

    void failed(const std::string& user, const std::string& address);

    /// Forgets the failures of the user name, not those of the address: its owner may have a
    /// password of one user and try those of others.
    void succeeded(const std::string& user);

    /// How many logins have failed or were refused.
    [[nodiscard]] std::uint64_t refused() const { return refused_; }

private:
    struct Failures {
        int count = 0;
        std::int64_t lastMS = 0;

        [[nodiscard]] std::int64_t pauseEndsMS() const;
    };
    using Table = std::map<std::string, Failures>;

    static const Failures* recent(const Table& table, const std::string& key, std::int64_t nowMS);
    static void count(Table& table, const std::string& key, std::int64_t nowMS);

    std::atomic<std::uint64_t> refused_{0};
    std::mutex lock_;
    // Guarded by lock_.
    Table networks_;
    Table names_;
};

}  // namespace papanel
