#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "console/Output.h"
#include "console/Session.h"
#include "console/Settings.h"
#include "console/text/json.h"

namespace console {

/// The connection, made when a command first needs it, and what was played over it. One for all
/// commands of a script.
class Connection {
public:
    Connection(const Settings& settings, Output& diagnostics)
        : settings_(settings), diagnostics_(diagnostics) {}

    /// @throws Failure when there is no connection
    Session& session() {
        if (session_ == nullptr) {
            session_ = std::make_unique<Session>(settings_, diagnostics_);
        }
        session_->requireConnection();
        return *session_;
    }

    std::vector<std::string> playedIds;  ///< request ids, in order

    /// The records of the announcements that software triggers have started, by source.
    std::map<int, int> startedAnnouncements;

    /// Whether other commands may follow over this connection, as in a script. What lives as long
    /// as the connection is of little use without.
    bool lasts = false;

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
    Connection& connection;

    Session& session() const { return connection.session(); }

    /// Writes a record, or an array of records a line each.
    void writeJson(const Json& json) const { out.write(jsonLines(json)); }
};

}  // namespace console
