// SPDX-License-Identifier: Apache-2.0
#include "operating/serverOptions.h"

#include <stdexcept>

#include "client/scheduleTimes.h"
#include "operating/options.h"

namespace paoperating {

namespace {

/// @return the option that chooses a server on a broker
CLI::Option* addBrokerOptions(CLI::App& app, paserver::ServerChoice& server,
                              const std::string& variable) {
    const auto takeUrl = [&server](const std::string& text) {
        paserver::checkBrokerUrl(text);
        server.broker = text;
    };
    CLI::Option* const broker =
        addParsed(app, "--server", takeUrl, "Broker of the audio server (default: a simulated one)",
                  "mqtt[s]://HOST[:PORT]")
            ->envname(variable);
    addWhole(app, "--dst", server.dstNo, {1, greatestWhole},
             "Number of the server (default: the active one)");
    CLI::Option* const indirect = app.add_flag("--indirect", server.indirect,
                                               "Use the server over a local one, which relays");
    CLI::Option* const local = addWhole(app, "--local-dst", server.localDstNo, {1, greatestWhole},
                                        "Number of the local server");
    indirect->needs(local);
    local->needs(indirect);
    addPath(app, "--credentials", server.credentials,
            "File with the lines user = NAME and password = TEXT, for its owner only", "FILE");
    addPath(app, "--ca", server.caFile, "Authorities that the broker's certificate may have",
            "FILE");
    addPath(app, "--cert", server.certificateFile, "Certificate of this client", "FILE");
    addPath(app, "--key", server.keyFile, "Key of the certificate", "FILE");
    return broker;
}

void addSimulationOptions(CLI::App& app, paserver::ServerChoice& server, CLI::Option* broker) {
    addPath(app, "--scenario", server.scenario, "Station of the simulated server", "FILE")
        ->excludes(broker);
    addNumber(app, "--speed", server.speed, {1e-3, 1e6}, "Simulated seconds per second (default 1)")
        ->excludes(broker);
    addPath(app, "--spool", server.spool,
            "Folder where the simulated server keeps uploads and recordings", "DIR")
        ->excludes(broker);
    addPath(app, "--state", server.state,
            "Folder where the simulated server keeps schedules, gains, monitoring, attached zones, "
            "uploads and recordings",
            "DIR")
        ->excludes(broker);
    const auto takeClock = [&server](const std::string& text) {
        const paclient::DateTime typed = paclient::parseDateTime(text);
        if (!typed.date || !typed.time) {
            throw std::invalid_argument("'" + text + "' is not a date and a time");
        }
        server.clock = typed;
    };
    addParsed(app, "--clock", takeClock,
              "Station time at the start, as 2026-12-01T05:59 (default: the real time)", "DATETIME")
        ->excludes(broker);
}

}  // namespace

void addServerOptions(CLI::App& app, paserver::ServerChoice& server, const std::string& variable) {
    addSimulationOptions(app, server, addBrokerOptions(app, server, variable));
}

}  // namespace paoperating
