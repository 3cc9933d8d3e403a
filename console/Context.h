// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "client/json.h"
#include "console/ExitCode.h"
#include "console/Output.h"
#include "console/Session.h"
#include "console/following/LiveView.h"
#include "console/text/TextTable.h"

namespace console {

/// What a command works with.
struct Context {
    Settings settings;
    Output& out;
    Output& diagnostics;
    int terminal;  ///< file descriptor of `out` when that is a terminal, else -1
    Session& session;

    /// The session, connected.
    /// @throws Failure when there is no connection in time
    Session& connected() const {
        session.requireConnected();
        return session;
    }

    /// Writes a table, cut to the terminal's width unless `--wide` is given, or the same as JSON: a
    /// record, or an array of records a line each.
    void write(const TextTable& table, const paclient::Json& json) const {
        const bool isCut = terminal >= 0 && !settings.wide;
        out.write(settings.json ? paclient::jsonLines(json)
                                : table.text(isCut ? sizeOfTerminal(terminal).columns : 0));
    }

    /// What is redrawn in place on the terminal; null without one, and beside JSON.
    std::unique_ptr<LiveView> liveView(bool coloured = false) const {
        const bool isDrawn = terminal >= 0 && !settings.json;
        return isDrawn ? std::make_unique<LiveView>(out, coloured) : nullptr;
    }

    /// Writes a record, or an array of records a line each.
    void writeJson(const paclient::Json& json) const { out.write(paclient::jsonLines(json)); }
};

}  // namespace console
