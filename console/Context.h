#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "client/json.h"
#include "console/Output.h"
#include "console/Session.h"
#include "console/Settings.h"
#include "console/following/LiveView.h"
#include "console/text/TextTable.h"

namespace console {

/// What the commands of a process share: the session, made when a command first needs it, and what
/// was played over it. One for all commands of a script.
class SharedSession {
public:
    SharedSession(const Settings& settings, Output& diagnostics)
        : settings_(settings), diagnostics_(diagnostics) {}

    /// Waits while the connection is away.
    /// @throws Failure when there is no connection in time
    Session& session() {
        if (session_ == nullptr) {
            session_ = std::make_unique<Session>(settings_, diagnostics_);
        } else {
            const bool isNew = session_->requireConnected();
            if (isNew && onReconnected) {
                onReconnected();
            }
        }
        return *session_;
    }

    std::vector<std::string> playedIds;  ///< request ids, in order

    /// The records of the announcements that software triggers have started, by source.
    std::map<int, int> startedAnnouncements;

    /// Called when the connection is there again, before the command that has waited for it goes
    /// on.
    std::function<void()> onReconnected;

    /// Whether other commands may follow in this session, as in a script. What ends with the
    /// session is of little use without.
    bool lasts = false;

    /// Whether the session goes on when the user interrupts a command, as in a shell.
    bool survivesInterruption = false;

    /// Whether these commands come from the standard input.
    bool readsCommands = false;

private:
    const Settings settings_;
    Output& diagnostics_;
    std::unique_ptr<Session> session_;
};

/// What a command works with.
struct Context {
    Settings settings;
    Output& out;
    Output& diagnostics;
    int terminal;  ///< file descriptor of `out` when that is a terminal, else -1
    SharedSession& connection;

    Session& session() const { return connection.session(); }

    /// Writes a table, cut to the terminal's width unless `--wide` is given.
    void write(const TextTable& table) const {
        const bool isCut = terminal >= 0 && !settings.wide;
        out.write(table.text(isCut ? sizeOfTerminal(terminal).columns : 0));
    }

    /// What is redrawn in place on the terminal; null without one, and beside JSON.
    std::unique_ptr<LiveView> liveView() const {
        const bool isDrawn = terminal >= 0 && !settings.json;
        return isDrawn ? std::make_unique<LiveView>(out) : nullptr;
    }

    /// Writes a record, or an array of records a line each.
    void writeJson(const paclient::Json& json) const { out.write(paclient::jsonLines(json)); }
};

}  // namespace console
