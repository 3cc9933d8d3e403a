// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "panel/access/LoginThrottle.h"
#include "panel/access/User.h"
#include "panel/access/passwords.h"

namespace papanel {

class UserFile;

/// A user who has logged in.
struct Session {
    std::string id;  ///< for other parts of the panel: made of the cookie's value, which it hides
    std::string user;
    Role role = Role::Monitor;
    std::string csrf;  ///< must come with each request that changes something
};

/// One that has just begun.
struct NewSession {
    Session session;
    std::string token;  ///< value of the cookie; kept by the browser only
};

struct SessionLimits {
    std::chrono::milliseconds idle = std::chrono::hours(12);
    std::chrono::milliseconds absolute = std::chrono::hours(24 * 7);
    std::size_t forUser =
        250;  ///< of one user, who may have a page on many displays; not of "local"
    std::size_t inAll = 1000;
};

/// Who has logged in, and who may. A session ends when it is idle or old, when its user logs out,
/// is removed or gets another role or password, and when there are too many: then the one that has
/// been idle for longest. It is idle without a request and without an open page. All end with the
/// process.
///
/// Times are those of the host's monotonic clock. May be called from any thread.
class Sessions {
public:
    /// @param users null: everyone is the operator "local", without a password
    explicit Sessions(UserFile* users, SessionLimits limits = {});

    /// Has a function called after each end of a session, without a lock held. To be set before the
    /// first session.
    /// @param reason a word for the page, which has texts for them: idle, old, removed, role,
    /// password,
    ///               displaced (by too many), login (again), logout
    using OnEnd = std::function<void(const std::string& id, const std::string& reason)>;
    void onEnd(OnEnd call) { onEnd_.push_back(std::move(call)); }

    /// Whether users must log in.
    [[nodiscard]] bool areAuthenticated() const { return users_ != nullptr; }

    /// Begins a session, which takes the time of a password hash.
    /// @param address of the client
    /// @throws ApiError wrong-credentials; throttled, with the member `retryAfter` in seconds;
    ///         overloaded when too many wait already
    NewSession logIn(const std::string& user, const std::string& password,
                     const std::string& address);

    /// Begins a session of the user "local".
    /// @throws std::logic_error when users must log in
    NewSession beginLocal();

    /// The session of a cookie's value, if it lasts. It is not idle then.
    std::optional<Session> find(const std::string& token);

    /// Whether a session has not ended. Does not use it.
    [[nodiscard]] bool lasts(const std::string& id) const;

    /// Notes that a page of the session is open now.
    void notePage(const std::string& id);

    /// Ends a session; does nothing when it has ended.
    void end(const std::string& id, const std::string& reason);

    /// Ends the sessions whose time or whose user has passed. To be called every few seconds.
    void endExpired();

    [[nodiscard]] std::size_t count() const;

    /// How many logins were refused so far: for a wrong name or password, and for their number.
    [[nodiscard]] std::uint64_t refusedLogins() const { return throttle_.refused(); }

private:
    struct Kept {
        Session session;
        std::string hash;  // of the user's password at the login
        std::int64_t begunMS;
        std::int64_t usedMS;
    };
    using Ended = std::vector<std::pair<std::string, std::string>>;

    NewSession begin(const User& user);
    std::string whyOver(const Kept& kept) const;
    void makePlace(const std::string& user, Ended& ended);
    void report(const Ended& ended) const;

    UserFile* const users_;
    const SessionLimits limits_;
    std::vector<OnEnd> onEnd_;
    LoginThrottle throttle_;
    HashLimit hashes_;

    mutable std::mutex lock_;
    std::map<std::string, Kept> sessions_;  // by id; guarded by lock_
};

/// Whether a request has the session's token, compared in constant time.
bool isCsrfToken(const Session& session, std::string_view given);

}  // namespace papanel
