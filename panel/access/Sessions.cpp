// SPDX-License-Identifier: Apache-2.0
#include "panel/access/Sessions.h"

#include <algorithm>
#include <array>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <stdexcept>

#include "framework/clock.h"
#include "framework/log.h"
#include "framework/shared.h"
#include "panel/access/UserFile.h"
#include "panel/http/ApiError.h"

namespace papanel {

namespace {

constexpr const char* localUser = "local";
constexpr std::size_t secretBytes = 32;
using Secret = std::array<unsigned char, secretBytes>;

std::string hexOf(const Secret& bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += {digits[byte >> 4U], digits[byte & 0xFU]};
    }
    return text;
}

std::string newSecret() {
    Secret bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("the system has no random numbers");
    }
    return hexOf(bytes);
}

/// The id of a token's session: SHA-256, so that no part of the panel knows a token.
std::string idOf(const std::string& token) {
    Secret digest{};
    if (EVP_Digest(token.data(), token.size(), digest.data(), nullptr, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("no SHA-256");
    }
    return hexOf(digest);
}

}  // namespace

Sessions::Sessions(UserFile* users, SessionLimits limits) : users_(users), limits_(limits) {}

NewSession Sessions::logIn(const std::string& user, const std::string& password,
                           const std::string& address) {
    if (users_ == nullptr) {
        return beginLocal();
    }
    throttle_.check(user, address);
    const HashLimit::Turn turn(hashes_);
    throttle_.check(user, address);  // others may have failed while it waited
    const std::optional<User> found = users_->find(user);
    if (!isPassword(password, found ? found->hash : "")) {
        throttle_.failed(user, address);
        handleError(1, "login refused: user \"%s\" from %s", user.substr(0, 64).c_str(),
                    address.c_str());
        throw ApiError(401, "wrong-credentials", "the user name or the password is wrong");
    }
    throttle_.succeeded(user);
    if (pa::load(debugLevel) > 0) {
        debug(1, "login: user \"%s\" from %s", user.c_str(), address.c_str());
    }
    return begin(*found);
}

NewSession Sessions::beginLocal() {
    if (users_ != nullptr) {
        throw std::logic_error("users must log in");
    }
    return begin({localUser, Role::Operator, ""});
}

NewSession Sessions::begin(const User& user) {
    const std::string token = newSecret();
    const Session session{idOf(token), user.name, user.role, newSecret()};
    Ended ended;
    {
        const std::lock_guard<std::mutex> lock(lock_);
        makePlace(user.name, ended);
        const std::int64_t nowMS = pa::monotonicMS();
        sessions_[session.id] = {session, user.hash, nowMS, nowMS};
    }
    report(ended);
    return {session, token};
}

/// Ends the session that has been idle for longest, of the user or of all, where a further one
/// would be too many. Called with the lock.
void Sessions::makePlace(const std::string& user, Ended& ended) {
    const auto endIdlest = [&](const std::string& of, std::size_t most) {
        auto idlest = sessions_.end();
        std::size_t count = 0;
        for (auto at = sessions_.begin(); at != sessions_.end(); ++at) {
            if (of.empty() || at->second.session.user == of) {
                ++count;
                const bool isIdler =
                    idlest == sessions_.end() || at->second.usedMS < idlest->second.usedMS;
                idlest = isIdler ? at : idlest;
            }
        }
        if (count >= most && idlest != sessions_.end()) {
            ended.emplace_back(idlest->first, "displaced");
            sessions_.erase(idlest);
        }
    };
    if (users_ != nullptr) {
        endIdlest(user, limits_.forUser);
    }
    endIdlest("", limits_.inAll);
}

/// Why a session is over; empty when it lasts. Called without the lock, as a file may be read.
std::string Sessions::whyOver(const Kept& kept) const {
    const std::int64_t nowMS = pa::monotonicMS();
    if (nowMS - kept.usedMS >= limits_.idle.count()) {
        return "idle";
    }
    if (nowMS - kept.begunMS >= limits_.absolute.count()) {
        return "old";
    }
    if (users_ == nullptr) {
        return "";
    }
    const std::optional<User> user = users_->find(kept.session.user);
    if (!user) {
        return "removed";
    }
    if (user->role != kept.session.role) {
        return "role";
    }
    return user->hash == kept.hash ? "" : "password";
}

std::optional<Session> Sessions::find(const std::string& token) {
    if (token.size() != 2 * secretBytes) {
        return std::nullopt;
    }
    const std::string id = idOf(token);
    std::optional<Kept> kept;
    {
        const std::lock_guard<std::mutex> lock(lock_);
        if (const auto found = sessions_.find(id); found != sessions_.end()) {
            kept = found->second;
        }
    }
    if (!kept) {
        return std::nullopt;
    }
    if (const std::string reason = whyOver(*kept); !reason.empty()) {
        end(id, reason);
        return std::nullopt;
    }
    const std::lock_guard<std::mutex> lock(lock_);
    const auto found = sessions_.find(id);
    if (found == sessions_.end()) {
        return std::nullopt;
    }
    found->second.usedMS = pa::monotonicMS();
    return found->second.session;
}

bool Sessions::lasts(const std::string& id) const {
    const std::lock_guard<std::mutex> lock(lock_);
    return sessions_.count(id) > 0;
}

void Sessions::notePage(const std::string& id) {
    const std::lock_guard<std::mutex> lock(lock_);
    if (const auto found = sessions_.find(id); found != sessions_.end()) {
        found->second.usedMS = pa::monotonicMS();
    }
}

void Sessions::end(const std::string& id, const std::string& reason) {
    bool hasEnded = false;
    {
        const std::lock_guard<std::mutex> lock(lock_);
        hasEnded = sessions_.erase(id) > 0;
    }
    if (hasEnded) {
        report({{id, reason}});
    }
}

void Sessions::endExpired() {
    std::vector<Kept> all;
    {
        const std::lock_guard<std::mutex> lock(lock_);
        for (const auto& [id, kept] : sessions_) {
            all.push_back(kept);
        }
    }
    for (const Kept& kept : all) {
        if (const std::string reason = whyOver(kept); !reason.empty()) {
            end(kept.session.id, reason);
        }
    }
}

std::size_t Sessions::count() const {
    const std::lock_guard<std::mutex> lock(lock_);
    return sessions_.size();
}

void Sessions::report(const Ended& ended) const {
    for (const auto& [id, reason] : ended) {
        for (const OnEnd& call : onEnd_) {
            call(id, reason);
        }
    }
}

bool isCsrfToken(const Session& session, std::string_view given) {
    return given.size() == session.csrf.size() &&
           CRYPTO_memcmp(given.data(), session.csrf.data(), given.size()) == 0;
}

}  // namespace papanel
