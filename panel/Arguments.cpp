// SPDX-License-Identifier: Apache-2.0
#include "panel/Arguments.h"

#include <CLI/CLI.hpp>
#include <arpa/inet.h>
#include <fstream>
#include <set>
#include <unistd.h>
#include <utility>

#include "metrics/ListenAddress.h"
#include "operating/options.h"
#include "operating/serverOptions.h"
#include "paserver/journal.h"
#include "util/userFile.h"

namespace papanel {

namespace {

constexpr const char* footer =
    "Commands: user add|remove|password|role|list --users FILE, see user --help\n"
    "Exit codes: 0 stopped, 1 usage, 2 cannot start";

/// The words of the command line that are examined later.
struct Words {
    std::string listen = "127.0.0.1:8088";
    std::string proxyScheme;
    std::filesystem::path metricsToken;
    std::vector<std::string> proxies{"127.0.0.1", "::1"};
    bool journal = false;
    int debug = 0;
};

void addPageOptions(CLI::App& app, PanelSettings& settings, Words& words) {
    using namespace paoperating;
    constexpr int greatestDays = 36500;
    constexpr const char* file = "FILE";
    CLI::App& pages = *app.add_option_group("Pages");
    HttpSettings& http = settings.http;
    addText(pages, "--listen", words.listen,
            "Address of the page; port 0 is a free one (default 127.0.0.1:8088)", "ADDRESS:PORT");
    addPath(pages, "--users", settings.users,
            "Users; without it everyone on this machine is an operator", file);
    CLI::Option* const certificate = addPath(pages, "--tls-cert", http.certificate,
                                             "Certificate of the page, with its chain", file);
    CLI::Option* const key = addPath(pages, "--tls-key", http.key, "Key of the certificate", file);
    certificate->needs(key);
    key->needs(certificate);
    addText(pages, "--behind-proxy", words.proxyScheme,
            "How browsers reach the proxy that passes requests on", "SCHEME")
        ->check(oneOf({"http", "https"}))
        ->excludes(certificate);
    addTexts(pages, "--proxy-address", words.proxies,
             "IP address of that proxy; repeatable (default 127.0.0.1 and ::1)", "ADDRESS");
    addPath(pages, "--audit", settings.audit,
            "Audit trail (default: the newest operations, in memory)", file);
    addWhole(pages, "--audit-days", settings.auditDays, {1, greatestDays},
             "How long an operation stays in it (default 90)");
    addPath(pages, "--metrics-token-file", words.metricsToken,
            "Token for /metrics, which else this machine and users may read: a line of 16 "
            "characters or more, mode 600",
            file);
    addWhole(pages, "--max-connections", http.limits.connections, {1, greatestWhole},
             "In all (default 1000)");
    addWhole(pages, "--max-connections-per-address", http.limits.connectionsPerAddress,
             {1, greatestWhole},
             "Of one client (default 250); this machine and the proxy have no limit");
}

void define(CLI::App& app, PanelSettings& settings, Words& words) {
    addPageOptions(app, settings, words);
    paoperating::addServerOptions(app, settings.server, "PAPANEL_SERVER");
    app.add_flag("--journal", words.journal,
                 "Log lines with priorities (the default when stderr is the journal)");
    paoperating::addWhole(app, "--debug", words.debug, {0, 3}, "Verbosity of the log, 0 to 3");
    app.set_config("--config",
                   pautil::userFile("XDG_CONFIG_HOME", ".config", "papanel/config.toml").string(),
                   "File with options, as listen = \"127.0.0.1:8088\"")
        ->type_name("FILE");
    app.allow_config_extras(CLI::config_extras_mode::error);
    app.set_version_flag("--version", "papanel " PA_VERSION);
    app.footer(footer);
}

/// @throws std::invalid_argument
void takeListen(const std::string& text, HttpSettings& http) {
    const auto address = pametrics::readListenAddress(text);
    if (!address) {
        throw std::invalid_argument("--listen: '" + text + "' is not an address and a port");
    }
    http.host = address->host;
    http.port = address->port;
}

/// The first line of a file that only its owner may use.
/// @throws std::invalid_argument
std::string readToken(const std::filesystem::path& file) {
    constexpr std::size_t shortest = 16;
    constexpr auto others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    std::string token;
    std::ifstream stream(file);
    std::getline(stream, token);
    if (!stream.is_open() || stream.bad()) {
        throw std::invalid_argument("--metrics-token-file: " + file.string() + " cannot be read");
    }
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

/// Addresses as the system writes them: those of connections are compared with them.
/// @throws std::invalid_argument
void takeProxies(const std::vector<std::string>& addresses, std::set<std::string>& proxies) {
    for (const std::string& address : addresses) {
        const int family = address.find(':') == std::string::npos ? AF_INET : AF_INET6;
        in6_addr number{};  // large enough for both families
        char text[INET6_ADDRSTRLEN] = "";
        if (inet_pton(family, address.c_str(), &number) != 1) {
            throw std::invalid_argument("--proxy-address: '" + address + "' is not an IP address");
        }
        proxies.insert(inet_ntop(family, &number, text, sizeof(text)));
    }
}

/// @throws std::invalid_argument
void finish(PanelSettings& settings, const Words& words) {
    takeListen(words.listen, settings.http);
    if (!words.metricsToken.empty()) {
        settings.metricsToken = readToken(words.metricsToken);
    }
    settings.isBehindProxy = !words.proxyScheme.empty();
    settings.isEncrypted = words.proxyScheme == "https" || !settings.http.certificate.empty();
    std::set<std::string> proxies;
    takeProxies(words.proxies, proxies);
    if (settings.isBehindProxy) {
        settings.http.proxies = std::move(proxies);
    }
    if (settings.users.empty() && (settings.isBehindProxy || !isLoopbackHost(settings.http.host))) {
        throw std::invalid_argument(
            "without --users only this machine is served: no other address, and no proxy");
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
    } catch (const CLI::ConfigError& error) {
        arguments.exitCode = wrongUsage;
        arguments.error = app.get_config_ptr()->as<std::string>() + ": " + error.what();
    } catch (const std::exception& error) {
        arguments.exitCode = wrongUsage;
        arguments.error = error.what();
    }
    arguments.journal = given.journal || paserver::isJournal(STDERR_FILENO);
    arguments.debug = given.debug;
    return arguments;
}

}  // namespace papanel
