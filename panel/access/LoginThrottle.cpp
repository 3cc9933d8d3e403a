// SPDX-License-Identifier: Apache-2.0
#include "panel/access/LoginThrottle.h"

#include <algorithm>

#include "framework/clock.h"
#include "panel/http/ApiError.h"
#include "panel/http/networkOf.h"

namespace papanel {

namespace {

constexpr int freeFailures = 4;
constexpr std::int64_t firstPauseMS = 1'000;
constexpr std::int64_t longestPauseMS = 300'000;
constexpr std::int64_t rememberedMS = 900'000;
constexpr std::size_t longestName = 64;

}  // namespace

std::int64_t LoginThrottle::Failures::pauseEndsMS() const {
    if (count <= freeFailures) {
        return 0;
    }
    std::int64_t pauseMS = firstPauseMS;
    for (int more = count - freeFailures; more > 1 && pauseMS < longestPauseMS; --more) {
        pauseMS *= 2;
    }
    return lastMS + std::min(pauseMS, longestPauseMS);
}

const LoginThrottle::Failures* LoginThrottle::recent(const Table& table, const std::string& key,
                                                     std::int64_t nowMS) {
    const auto found = table.find(key);
    const bool isRecent = found != table.end() && nowMS - found->second.lastMS < rememberedMS;
    return isRecent ? &found->second : nullptr;
}

/// In a full table the key whose last failure is the oldest makes place.
void LoginThrottle::count(Table& table, const std::string& key, std::int64_t nowMS) {
    if (recent(table, key, nowMS) == nullptr) {
        table.erase(key);
    }
    if (table.size() >= mostKept && table.count(key) == 0) {
        table.erase(std::min_element(table.begin(), table.end(), [](const auto& a, const auto& b) {
            return a.second.lastMS < b.second.lastMS;
        }));
    }
    Failures& failures = table[key];
    ++failures.count;
    failures.lastMS = nowMS;
}

void LoginThrottle::check(const std::string& user, const std::string& address) {
    std::int64_t waitMS = 0;
    {
        const std::lock_guard<std::mutex> lock(lock_);
        const std::int64_t nowMS = pa::monotonicMS();
        if (const Failures* const own = recent(networks_, networkOf(address), nowMS)) {
            waitMS = own->pauseEndsMS() - nowMS;
            if (const auto* const named = recent(names_, user.substr(0, longestName), nowMS)) {
                waitMS = std::max(waitMS, named->pauseEndsMS() - nowMS);
            }
        }
    }
    if (waitMS > 0) {
        ++refused_;
        const std::int64_t seconds = (waitMS + 999) / 1000;
        throw ApiError(429, "throttled",
                       "too many failed logins, try again in " + std::to_string(seconds) + " s",
                       {{"retryAfter", seconds}});
    }
}

void LoginThrottle::failed(const std::string& user, const std::string& address) {
    ++refused_;
    const std::lock_guard<std::mutex> lock(lock_);
    const std::int64_t nowMS = pa::monotonicMS();
    count(networks_, networkOf(address), nowMS);
    count(names_, user.substr(0, longestName), nowMS);
}

void LoginThrottle::succeeded(const std::string& user) {
    const std::lock_guard<std::mutex> lock(lock_);
    names_.erase(user);
}

}  // namespace papanel
