// SPDX-License-Identifier: Apache-2.0
#include "panel/Arguments.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <unistd.h>

#include "client/scheduleTimes.h"
#include "paserver/journal.h"
#include "util/userFile.h"

namespace papanel {

namespace {

constexpr int greatestPort = 65535;
constexpr const char* footer =
    "Commands: user add|remove|password|role|list --users FILE, see user --help\n"
    "Exit codes: 0 stopped, 1 usage, 2 cannot start";

/// The words of the command line that are examined later.
struct Words {
    std::string listen = "127.0.0.1:8088";
    std::string clock;
    std::string proxyScheme;
    std::filesystem::path metricsToken;
    std::vector<std::string> proxies{"127.0.0.1", "::1"};
    bool journal = false;
    int debug = 0;
};

void addServerOptions(CLI::App& app, paserver::ServerChoice& server, Words& words) {
    CLI::Option_group* const broker = app.add_option_group("Audio server on a broker");
    CLI::Option* const url =
        broker
            ->add_option("--server", server.broker,
                         "mqtt[s]://HOST[:PORT] of the broker (default: a simulated server)")
            ->envname("PAPANEL_SERVER");
    broker->add_option("--dst", server.dstNo, "Number of the server (default: the active one)")
        ->check(CLI::PositiveNumber);
    CLI::Option* const indirect = broker->add_flag("--indirect", server.indirect,
                                                   "Use the server over a local one, which relays");
    CLI::Option* const local =
        broker->add_option("--local-dst", server.localDstNo, "Number of the local server")
            ->check(CLI::PositiveNumber);
    indirect->needs(local);
    local->needs(indirect);
    broker->add_option("--credentials", server.credentials,
                       "File with the lines user = NAME and password = TEXT, for its owner only");
    broker->add_option("--ca", server.caFile,
                       "File of the authorities that the broker's certificate may have");
    broker->add_option("--cert", server.certificateFile, "Certificate of this client, a file");
    broker->add_option("--key", server.keyFile, "Key of the certificate, a file");
    CLI::Option_group* const simulated = app.add_option_group("Simulated audio server");
    simulated->add_option("--scenario", server.scenario, "Its station, a JSON file")->excludes(url);
    simulated->add_option("--speed", server.speed, "Simulated seconds per second (default 1)")
        ->check(CLI::Range(1e-3, 1e6))
        ->excludes(url);
    simulated->add_option("--spool", server.spool, "Folder of uploads and recordings")
        ->excludes(url);
    simulated->add_option("--state", server.state, "Folder of what outlives the process")
        ->excludes(url);
    simulated->add_option("--clock", words.clock, "Station time at the start, as 2026-12-01T05:59")
        ->excludes(url);
}

void addPageOptions(CLI::App& app, PanelSettings& settings, Words& words) {
    CLI::Option_group* const pages = app.add_option_group("Pages");
    HttpSettings& http = settings.http;
    pages->add_option("--listen", words.listen,
                      "ADDRESS:PORT of the page; port 0 is a free one (default 127.0.0.1:8088)");
    pages->add_option("--users", settings.users,
                      "File of users; without it anybody on this machine is an operator");
    CLI::Option* const certificate = pages->add_option(
        "--tls-cert", http.certificate, "Certificate of the page with its chain, a PEM file");
    CLI::Option* const key = pages->add_option("--tls-key", http.key, "Its key, a PEM file");
    certificate->needs(key);
    key->needs(certificate);
    pages
        ->add_option("--behind-proxy", words.proxyScheme,
                     "http or https: how browsers reach the proxy that passes requests on")
        ->check(CLI::IsMember({"http", "https"}))
        ->excludes(certificate);
    pages->add_option("--proxy-address", words.proxies,
                      "Address of that proxy, repeatable (default 127.0.0.1 and ::1)");
    pages->add_option("--audit", settings.audit,
                      "File of the audit trail (default: the newest operations, in memory)");
    pages
        ->add_option("--audit-days", settings.auditDays,
                     "How long an operation stays in it (default 90)")
        ->check(CLI::Range(1, 36500));
    pages->add_option("--metrics-token-file", words.metricsToken,
                      "File with a token for /metrics, which else this machine and users may read");
    pages->add_option("--max-connections", http.limits.connections, "In all (default 1000)")
        ->check(CLI::Range(10, 100000));
    pages
        ->add_option("--max-connections-per-address", http.limits.connectionsPerAddress,
                     "Of one client (default 250); this machine and the proxy have no limit")
        ->check(CLI::Range(1, 100000));
}

void define(CLI::App& app, PanelSettings& settings, Words& words) {
    addPageOptions(app, settings, words);
    addServerOptions(app, settings.server, words);
    app.add_flag("--journal", words.journal,
                 "Log lines with priorities (the default when stderr is the journal)");
    app.add_option("--debug", words.debug, "Verbosity of the log, 0 to 3 (default 0)")
        ->check(CLI::Range(0, 3));
    app.set_config("--config",
                   pautil::userFile("XDG_CONFIG_HOME", ".config", "papanel/config.toml").string(),
                   "File with options, as listen = \"127.0.0.1:8088\"");
    app.allow_config_extras(CLI::config_extras_mode::error);
    app.set_version_flag("--version", "papanel " PA_VERSION);
    app.footer(footer);
}

/// @throws std::invalid_argument
void takeListen(const std::string& text, HttpSettings& http) {
    const std::size_t colon = text.rfind(':');
    const std::string port = colon == std::string::npos ? "" : text.substr(colon + 1);
    if (colon == 0 || port.empty() || port.size() > 5 ||
        port.find_first_not_of("0123456789") != std::string::npos ||
        std::stoi(port) > greatestPort) {
        throw std::invalid_argument("--listen: '" + text + "' is not an address and a port");
    }
    http.host = text.substr(0, colon);
    http.port = std::stoi(port);
    if (http.host.front() == '[' && http.host.back() == ']') {
        http.host = http.host.substr(1, http.host.size() - 2);
    }
}

/// The first line of a file that only its owner may use.
/// @throws std::invalid_argument
std::string readToken(const std::filesystem::path& file) {
    constexpr std::size_t shortest = 16;
    constexpr auto others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    std::string token;
    std::ifstream stream(file);
    std::getline(stream, token);
    if (token.size() < shortest) {
        throw std::invalid_argument("--metrics-token-file: " + file.string() +
                                    " has no line of 16 characters or more");
    }
    if ((std::filesystem::status(file).permissions() & others) != std::filesystem::perms::none) {
        throw std::invalid_argument("--metrics-token-file: others than its owner may use " +
                                    file.string() + ": chmod 600 it");
    }
    return token;
}

/// @throws std::invalid_argument
void finish(PanelSettings& settings, const Words& words) {
    takeListen(words.listen, settings.http);
    if (!words.metricsToken.empty()) {
        settings.metricsToken = readToken(words.metricsToken);
    }
    settings.isBehindProxy = !words.proxyScheme.empty();
    settings.isEncrypted = words.proxyScheme == "https" || !settings.http.certificate.empty();
    if (settings.isBehindProxy) {
        settings.http.proxies.insert(words.proxies.begin(), words.proxies.end());
    }
    if (settings.users.empty() && (settings.isBehindProxy || !isLoopbackHost(settings.http.host))) {
        throw std::invalid_argument(
            "without --users only this machine is served: no other address, and no proxy");
    }
    if (!settings.server.broker.empty()) {
        paserver::checkBrokerUrl(settings.server.broker);
    }
    if (!(settings.server.speed > 0)) {  // not a number, which is in every range
        throw std::invalid_argument("--speed: a number above 0 is expected");
    }
    if (!words.clock.empty()) {
        const paclient::DateTime typed = paclient::parseDateTime(words.clock);
        if (!typed.date || !typed.time) {
            throw std::invalid_argument("--clock: '" + words.clock + "' is not a date and a time");
        }
        settings.server.clock = typed;
    }
}

}  // namespace

Arguments readArguments(const std::vector<std::string>& words) {
    Arguments arguments;
    Words given;
    CLI::App app("Operators' page of a public-address system", "papanel");
    define(app, arguments.settings, given);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
        finish(arguments.settings, given);
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
    arguments.journal = given.journal || paserver::isJournal(STDERR_FILENO);
    arguments.debug = given.debug;
    return arguments;
}

}  // namespace papanel
