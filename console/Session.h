#pragma once

#include <chrono>
#include <optional>

#include "console/Output.h"
#include "console/Settings.h"
#include "console/following/Changes.h"
#include "console/following/RenewalCounter.h"
#include "link/ServerLink.h"
#include "link/embedded/EmbeddedTransport.h"
#include "sdk/AudioServer.h"
#include "simserver/SimServer.h"

namespace console {

/// A moment on the clock that never jumps.
using Moment = std::chrono::steady_clock::time_point;

/// More seconds than anybody waits, and few enough for the clock.
constexpr double forEver = 1e9;

/// The moment that is so many seconds away, `forEver` at most.
Moment after(double seconds);

/// The connection to a simulated server of its own, for as long as the object lives. One at a time.
class Session {
public:
    /// Connects and waits until everything that the server holds is known.
    /// @param diagnostics receives the log and the error lines
    /// @throws Failure when the scenario cannot be used or the server does not answer in time
    Session(const Settings& settings, Output& diagnostics);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// @throws Failure when the connection is lost
    void requireConnection() const;

    /// Waits until a connection that the server has dropped is known to be lost.
    void waitUntilLost() { transport_.waitUntilDelivered(); }

    /// Takes the next change.
    /// @return nothing when none has come until `deadline`
    /// @throws Failure when the user interrupts, or the connection is lost
    std::optional<Change> nextChange(Changes& changes, Moment deadline);

    /// The same for somebody who has asked for something: the failure says that what has become of
    /// it is unknown.
    std::optional<Change> nextAnswer(Changes& changes, Moment deadline);

    KeyValueMap serverInfo() const;

    /// How often this client has renewed the lock of a source.
    int renewalsOf(int sourceId) const { return renewals_.renewalsOf(sourceId); }

    /// The simulated server itself, for what happens on its own side.
    simserver::SimServer& server() { return server_; }

private:
    /// Sends the lines of the log to the diagnostics while it lives.
    class LogRedirection {
    public:
        LogRedirection(Output& diagnostics, long debugLevel);
        LogRedirection(const LogRedirection&) = delete;
        LogRedirection& operator=(const LogRedirection&) = delete;
        ~LogRedirection();
    };

    LogRedirection log_;
    simserver::SimServer server_;
    RenewalCounter renewals_;
    palink::EmbeddedTransport transport_;
    palink::ServerLink link_;
};

}  // namespace console
