#pragma once

#include <cstdint>
#include <string>

#include "client/Connection.h"
#include "console/Output.h"
#include "console/Settings.h"
#include "console/waits.h"
#include "simserver/EmbeddedEndpoint.h"

namespace console {

/// The connection of the console to its server, for as long as the object lives. One at a time.
class Session {
public:
    /// Connects and waits until everything that the server holds is known.
    /// @param diagnostics receives the log and the error lines
    /// @throws Failure when the scenario cannot be used or the server does not answer in time
    Session(const Settings& settings, Output& diagnostics);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// Waits while the connection is away.
    /// @return whether it is another connection than at the call before
    /// @throws Failure when it is not back in time: 10 s, or --timeout; and when the user
    /// interrupts
    bool requireConnected();

    /// @throws Failure when the connection has been away for longer
    void requireBackWithin(double seconds);

    /// Waits until everything that the server has reported so far has reached every
    /// `paclient::Subscription`.
    /// @throws Failure when the connection is lost meanwhile, the time is up, or the user
    /// interrupts
    void waitUntilDelivered();

    KeyValueMap serverInfo() const { return connection_.serverInfo(); }

    paclient::Connection& connection() { return connection_; }

    /// The server's own side.
    /// @throws Failure when the server is not a simulated one
    simserver::SimControl& simControl();

private:
    /// Sends the lines of the log to the diagnostics while it lives.
    class LogRedirection {
    public:
        LogRedirection(Output& diagnostics, long debugLevel);
        LogRedirection(const LogRedirection&) = delete;
        LogRedirection& operator=(const LogRedirection&) = delete;
        ~LogRedirection();
    };

    bool setClock();
    paclient::Wait waitFor(const std::string& what) const;

    Output& diagnostics_;
    const double timeoutSeconds_;
    const double speed_;
    LogRedirection log_;
    simserver::EmbeddedEndpoint endpoint_;
    paclient::Connection connection_;
    std::uint64_t clockOf_ = 0;  // the number of the connection that has set the station's clock
};

}  // namespace console
