// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/commandLine.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "client/find.h"
#include "client/recordText.h"
#include "console/ExitCode.h"
#include "console/arguments/CommandPlace.h"
#include "console/arguments/options.h"
#include "console/following/operate.h"
#include "operating/serverOptions.h"
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

/// The options that choose the server and what the process does.
void addProcessOptions(CLI::App& app, Settings& settings) {
    paoperating::addServerOptions(app, settings.server, "PACONSOLE_SERVER");
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
    } catch (const std::invalid_argument& error) {
        throw Failure(ExitCode::Usage, error.what());
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
