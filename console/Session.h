// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "client/Connection.h"
#include "console/Output.h"
#include "paserver/ServerChoice.h"
#include "simserver/SimControl.h"

namespace console {

/// The global options.
struct Settings {
    bool json = false;
    bool wide = false;                ///< tables are not cut to the terminal
    paserver::ServerChoice server{};  ///< its scenario is empty for the default one
    std::optional<double> timeout;    ///< seconds
    long debug = 0;
    std::filesystem::path script;  ///< a file, "-" for the standard input, empty for none
};

/// What the commands of a process share: the connection to the server, made when a command first
/// needs it, and what was played over it. One for all commands of a script.
class Session {
public:
    /// @param diagnostics receives the log and the error lines
    Session(const Settings& settings, Output& diagnostics);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// Connects and waits until everything that the server holds is known; later it waits while the
    /// connection is away.
    /// @throws Failure when the scenario cannot be used, the connection is not there in time (10 s,
    ///         or --timeout), and when the user interrupts
    void requireConnected();

    /// @throws Failure when the connection has been away for longer
    void requireBackWithin(double seconds);

    /// Waits until everything that the server has reported so far has reached every
    /// `paclient::Subscription`.
    /// @throws paclient::NotConnected, and Failure when the user interrupts
    void waitUntilDelivered();

    /// Of a session that has been connected.
    paclient::Connection& connection();

    /// The server's own side; as above.
    /// @throws Failure when the server is not a simulated one
    simserver::SimControl& simControl();

    std::vector<std::string> playedIds;  ///< request ids, in order

    /// The records of the announcements that software triggers have started, by source.
    std::map<int, int> startedAnnouncements;

    /// Called when the connection is there again, before the command that has waited for it
    /// continues.
    std::function<void()> onReconnected;

    /// Whether other commands may follow in this session, as in a script. What ends with the
    /// session is of little use without.
    bool lasts = false;

    /// Whether the session continues when the user interrupts a command, as in a shell.
    bool survivesInterruption = false;

    /// Whether these commands come from the standard input.
    bool readsCommands = false;

private:
    struct Link;

    bool isReconnected();
    paclient::Wait waitFor(const std::string& what) const;

    const Settings settings_;
    Output& diagnostics_;
    std::unique_ptr<Link> link_;  // null until it is connected
    std::uint64_t number_ = 0;    // of the connection at the last call of isReconnected
};

}  // namespace console
