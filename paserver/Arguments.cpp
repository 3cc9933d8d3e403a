// SPDX-License-Identifier: Apache-2.0
#include "paserver/Arguments.h"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "client/Calendar.h"
#include "client/scheduleTimes.h"
#include "paserver/journal.h"
#include "paserver/takeVariable.h"
#include "simserver/station/StationFile.h"

namespace paserver {

namespace {

constexpr const char* passwordVariable = "PASERVER_PASSWORD";

/// The words of the command line, not yet examined.
struct Words {
    std::string broker;
    std::string scenario;
    std::string state;
    std::string role = "standby";
    std::string credentials;
    std::string user;
    std::string ca;
    std::string certificate;
    std::string key;
    std::string clock;
    std::string metrics;
    int dstNo = 0;
    int precedence = 1;
    double speed = 1.0;
    bool keepRecords = false;
    bool withdrawRecords = false;
    bool journal = false;
    int debug = 1;
};

void define(CLI::App& app, Words& words) {
    app.add_option("--broker", words.broker, "Broker of the server")
        ->type_name("mqtt[s]://HOST[:PORT]")
        ->required();
    app.add_option("--scenario", words.scenario, "Station of the server, a JSON file")
        ->type_name("FILE")
        ->required();
    app.add_option("--dst", words.dstNo, "Number of the server (default: the scenario's)")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    app.add_option("--state", words.state, "Folder of what outlives the server")->type_name("DIR");
    app.add_option("--role", words.role, "active or standby: the role at the start")
        ->type_name("ROLE")
        ->check(CLI::IsMember({"active", "standby"}));
    app.add_option("--precedence", words.precedence, "1 (the best) to 1000, default 1")
        ->check(CLI::Range(1, 1000));
    app.add_option("--credentials", words.credentials,
                   "File with the lines user = NAME and password = TEXT, for its owner only")
        ->type_name("FILE");
    app.add_option(
           "--user", words.user,
           std::string("User at the broker, with the password in the environment variable ") +
               passwordVariable)
        ->type_name("NAME");
    app.add_option("--ca", words.ca, "Authorities that the broker's certificate may have")
        ->type_name("FILE");
    app.add_option("--cert", words.certificate, "Certificate of this server")->type_name("FILE");
    app.add_option("--key", words.key, "Key of the certificate")->type_name("FILE");
    app.add_option("--speed", words.speed, "Simulated seconds per second (default 1)")
        ->check(CLI::Range(1e-3, 1e6));
    app.add_option("--clock", words.clock, "Station time at the start, as 2026-12-01T05:59")
        ->type_name("DATETIME");
    CLI::Option* const keep =
        app.add_flag("--keep-records", words.keepRecords, "Leave the records at a stop");
    app.add_flag("--withdraw-records", words.withdrawRecords,
                 "Withdraw the records at a stop (the default)")
        ->excludes(keep);
    app.add_option("--metrics", words.metrics,
                   "Where /metrics and /healthz are served, as 127.0.0.1:9464 (default: nowhere)")
        ->type_name("ADDRESS:PORT");
    app.add_flag("--journal", words.journal,
                 "Log lines with priorities (the default when stderr is the journal)");
    app.add_option("--debug", words.debug, "Verbosity of the log, 0 to 3 (default 1)")
        ->check(CLI::Range(0, 3));
    app.set_version_flag("--version", "paserver " PA_VERSION);
}

palink::BrokerOptions brokerOf(const Words& words) {
    palink::BrokerOptions broker = palink::parseBrokerUrl(words.broker);
    broker.caFile = words.ca;
    broker.certificateFile = words.certificate;
    broker.keyFile = words.key;
    if (!words.credentials.empty()) {
        palink::readCredentials(broker, words.credentials);
    }
    if (!words.user.empty()) {
        broker.user = words.user;
    }
    broker.password = takeVariable(passwordVariable).value_or(broker.password);
    return broker;
}

/// @throws std::invalid_argument
std::time_t clockOf(const std::string& text, const std::string& timeZone) {
    const paclient::DateTime typed = paclient::parseDateTime(text);
    if (!typed.date || !typed.time) {
        throw std::invalid_argument("--clock: '" + text + "' is not a date and a time");
    }
    return paclient::Calendar(timeZone).momentOf({typed.date->year, typed.date->month,
                                                  typed.date->day, typed.time->hour,
                                                  typed.time->minute});
}

ServerSettings settingsOf(const Words& words) {
    ServerSettings settings;
    settings.station = simserver::loadStation(words.scenario);
    if (words.dstNo != 0) {
        settings.station.dstNo = words.dstNo;
    }
    if (!(words.speed > 0)) {  // not a number, which is in every range
        throw std::invalid_argument("--speed: a number above 0 is expected");
    }
    settings.simulation.speed = words.speed;
    settings.simulation.state = words.state;
    if (!words.clock.empty()) {
        settings.simulation.clock = clockOf(words.clock, settings.station.timeZone);
    }
    settings.role =
        words.role == "active" ? palink::ServerRole::Active : palink::ServerRole::Standby;
    settings.precedence = words.precedence;
    settings.keepsRecords = words.keepRecords;
    return settings;
}

}  // namespace

Arguments readArguments(const std::vector<std::string>& words) {
    Arguments arguments;
    Words given;
    CLI::App app("Simulated audio server on an MQTT 5 broker", "paserver");
    define(app, given);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        arguments.settings.broker = brokerOf(given);
    } catch (const CLI::CallForHelp&) {
        arguments.exitCode = stopped;
        arguments.output = app.help();
    } catch (const CLI::CallForVersion& version) {
        arguments.exitCode = stopped;
        arguments.output = std::string(version.what()) + '\n';
    } catch (const std::exception& error) {
        arguments.exitCode = wrongUsage;
        arguments.error = error.what();
    }
    if (arguments.exitCode) {
        return arguments;
    }
    arguments.journal = given.journal || isJournal(STDERR_FILENO);
    arguments.debug = given.debug;
    arguments.metrics = given.metrics;
    try {
        auto broker = std::move(arguments.settings.broker);
        arguments.settings = settingsOf(given);
        arguments.settings.broker = std::move(broker);
    } catch (const std::invalid_argument& error) {
        arguments.exitCode = wrongUsage;
        arguments.error = error.what();
    } catch (const std::exception& error) {
        arguments.exitCode = cannotStart;
        arguments.error = error.what();
    }
    return arguments;
}

}  // namespace paserver
