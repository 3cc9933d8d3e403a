// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/commandLine.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "client/find.h"
#include "client/recordText.h"
#include "client/scheduleTimes.h"
#include "console/ExitCode.h"
#include "console/arguments/CommandPlace.h"
#include "console/arguments/options.h"
#include "console/following/operate.h"
#include "util/userFile.h"

namespace console {

using namespace paclient;

namespace {

constexpr const char* version = "paconsole " PA_VERSION;
constexpr const char* exitCodes =
    "Exit codes: 0 done, 1 usage, 2 cannot connect, 3 not found or ambiguous,\n"
    "  4 refused, failed, cancelled or pre-empted, 5 timed out with the outcome unknown,\n"
    "  8 connection lost, 130 interrupted";

/// The options that every line of a script may have too.
void addLineOptions(CLI::App& app, Settings& settings) {
    const auto takeFormat = [&settings](const std::string& text) {
        settings.json = text == "json";
    };
    addParsed(app, "--format", takeFormat, "text (default) or json", "FORMAT")
        ->check(oneOf({"text", "json"}));
    app.add_flag("--wide", settings.wide, "Tables wider than the terminal");
    addNumber(app, "--timeout", settings.timeout, {0, forEver},
              "Seconds to wait for the server (mostly 10; play --wait: no limit)");
}

CLI::Option* addPath(CLI::App& app, const char* name, std::filesystem::path& path, const char* help,
                     const char* type) {
    const auto take = [&path, name](const std::string& text) {
        require(!text.empty(), std::string(name) + ": the path is empty");
        path = text;
    };
    return addParsed(app, name, take, help, type);
}

/// @return the option that chooses a server on a broker
CLI::Option* addBrokerOptions(CLI::App& app, paserver::ServerChoice& server) {
    const auto takeUrl = [&server](const std::string& text) {
        paserver::checkBrokerUrl(text);
        server.broker = text;
    };
    CLI::Option* const broker =
        addParsed(app, "--server", takeUrl, "Broker of the audio server (default: a simulated one)",
                  "mqtt[s]://HOST[:PORT]")
            ->envname("PACONSOLE_SERVER");
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
        const DateTime typed = parseDateTime(text);
        if (!typed.date || !typed.time) {
            throw std::invalid_argument("'" + text + "' is not a date and a time");
        }
        server.clock = typed;
    };
    addParsed(app, "--clock", takeClock,
              "Station time at the start, as 2026-12-01T05:59 (default: the real time)", "DATETIME")
        ->excludes(broker);
}

/// The options that choose the server and what the process does.
void addProcessOptions(CLI::App& app, Settings& settings) {
    addSimulationOptions(app, settings.server, addBrokerOptions(app, settings.server));
    addWhole(app, "--debug", settings.debug, {0, 3}, "Verbosity of the log, 0 to 3");
    addPath(app, "--script", settings.script,
            "Run console commands, one a line; - for the standard input", "FILE");
    const auto file = pautil::userFile("XDG_CONFIG_HOME", ".config", "paconsole/config.toml");
    app.set_config("--config", file.string(), "File with options, as server = \"mqtts://HOST\"")
        ->type_name("FILE");
    app.allow_config_extras(CLI::config_extras_mode::error);
}

/// The parser takes an empty value after "=" for a missing one, so it becomes a word of its own.
std::vector<std::string> withEmptyValues(const std::vector<std::string>& words,
                                         CommandPlace place) {
    std::vector<std::string> result;
    for (const std::string& word : words) {
        const bool emptyValue = !place.awaitsValue() && word.size() > 3 &&
                                word.compare(0, 2, "--") == 0 && word.find('=') == word.size() - 1;
        result.push_back(emptyValue ? word.substr(0, word.size() - 1) : word);
        if (emptyValue) {
            result.emplace_back();
        }
        place.pass(word);
    }
    return result;
}

void refuseInside(const Context& /*context*/) {
    throw Failure(ExitCode::Usage, "a shell cannot run inside a script or a shell");
}

/// What a shell understands beside the commands.
constexpr std::pair<const char*, const char*> shellWords[] = {
    {"help", "Show the commands, or with a command its options"},
    {"exit", "Leave the shell"},
    {"quit", "Leave the shell"},
};

/// Parts of the library's messages, and the console's own words for them.
constexpr std::pair<const char*, const char*> rewordings[] = {
    {"The following argument was not expected: ", "this is not expected here: "},
    {"The following arguments were not expected: ", "these are not expected here: "},
    {" is required", " is missing"},
    {" requires ", " needs "},
    {" excludes ", " cannot be combined with "},
    {": At Most 1 required but received ", ": one value is allowed, not "},
    {" was given a disallowed flag override", " takes no value"},
    {" was not readable (missing?)", ": there is no such file"},
    {"INI was not able to parse ", "not an option of the configuration file: "},
};

std::string reworded(std::string message) {
    if (const std::size_t at = message.find(": 1 required "); at != std::string::npos) {
        return message.substr(0, at) + ": a value is missing";
    }
    for (const auto& [theirs, ours] : rewordings) {
        if (const std::size_t at = message.find(theirs); at != std::string::npos) {
            return message.replace(at, std::strlen(theirs), ours);
        }
    }
    return message;
}

}  // namespace

CommandParser::CommandParser(const Settings& defaults, LineKind kind)
    : line_{defaults, {}, {}},
      kind_(kind),
      app_("The operator's console of a public-address system.", "paconsole") {
    app_.fallthrough();
    app_.require_subcommand(0, 1);
    app_.footer(exitCodes);
    app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app_.get_formatter()->column_width(36);
    addLineOptions(app_, line_.settings);
    if (kind == LineKind::Process) {
        addProcessOptions(app_, line_.settings);
        app_.set_version_flag("--version", version, "Print the version");
    }
    for (const Command& command : commands()) {
        const bool isHidden = command.ownsProcess && kind != LineKind::Process;
        addCommand(app_, command)->group(isHidden ? "" : "Commands");
    }
    if (kind == LineKind::Shell) {
        for (const auto& [name, help] : shellWords) {
            app_.add_subcommand(name, help)->group("Shell");
        }
    }
}

CLI::App* CommandParser::addCommand(CLI::App& above, const Command& command) {
    CLI::App* const app = above.add_subcommand(command.name, command.help);
    if (command.ownsProcess && kind_ != LineKind::Process) {
        handlers_[app] = refuseInside;
        return app;
    }
    if (command.define != nullptr) {
        handlers_[app] = command.define(*app);
        return app;
    }
    app->require_subcommand(1);
    for (const Command& below : command.below) {
        addCommand(*app, below);
    }
    return app;
}

/// A word that is no command or no option where one is expected, with the nearest ones; empty when
/// there is none.
std::string CommandParser::unknownWordIn(const std::vector<std::string>& words) const {
    CommandPlace place(app_);
    for (const std::string& word : words) {
        const bool isOption = !place.awaitsValue() && word.compare(0, 2, "--") == 0;
        const auto names = isOption ? place.options() : place.subcommands();
        const std::string name = isOption ? word.substr(0, word.find('=')) : word;
        const bool mustBeKnown = isOption || (!names.empty() && !looksLikeOption(word));
        if (mustBeKnown && std::find(names.begin(), names.end(), name) == names.end()) {
            return unknownName(isOption ? "option" : "command", name, names);
        }
        place.pass(word);
    }
    return {};
}

/// What is wrong with a line, in the words of the console.
std::string CommandParser::faultOf(const std::vector<std::string>& words,
                                   const std::exception& error) const {
    if (std::string unknown = unknownWordIn(words); !unknown.empty()) {
        return unknown;
    }
    const auto names = CommandPlace(app_, words).subcommands();
    const bool lacksCommand = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    return lacksCommand && !names.empty() ? "a command is missing: " + valueText(names)
                                          : reworded(error.what());
}

std::optional<CommandLine> CommandParser::read(std::vector<std::string> words, Output& out) {
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    try {
        auto arguments = withEmptyValues(words, CommandPlace(app_));
        std::reverse(arguments.begin(), arguments.end());  // the order that the parser expects
        app_.parse(arguments);
    } catch (const CLI::CallForHelp&) {
        const std::string unknown = unknownWordIn(words);
        require(unknown.empty(), unknown);
        const std::string help = app_.help();
        out.write(help.back() == '\n' ? help : help + '\n');
        return std::nullopt;
    } catch (const CLI::CallForVersion& wanted) {
        out.write(std::string(wanted.what()) + '\n');
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw Failure(ExitCode::Usage, faultOf(words, error));
    }
    const CLI::App* app = &app_;
    while (!app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
        line_.command += (line_.command.empty() ? "" : " ") + app->get_name();
    }
    if (const auto found = handlers_.find(app); found != handlers_.end()) {
        line_.handler = found->second;
    }
    return line_;
}

}  // namespace console
