#include "console/arguments/commandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "console/ExitCode.h"
#include "console/arguments/CommandPlace.h"
#include "console/arguments/Parser.h"
#include "console/schedule/scheduleTimes.h"
#include "console/text/lookup.h"
#include "console/text/recordText.h"

namespace console {

namespace {

constexpr const char* version = "paconsole " PA_VERSION;
constexpr const char* exitCodes =
    "Exit codes: 0 done, 1 usage, 2 cannot connect, 3 not found or ambiguous,\n"
    "  4 refused, failed, cancelled or pre-empted, 5 timed out with the outcome unknown,\n"
    "  8 connection lost, 130 interrupted";

/// The options that may stand on every line of a script too.
void addLineOptions(Parser& parser, Settings& settings) {
    const auto takeFormat = [&settings](const std::string& text) {
        settings.json = text == "json";
    };
    parser.add("--format", takeFormat, "text (default) or json", "FORMAT").oneOf({"text", "json"});
    parser.addNumber("--timeout", settings.timeout, {0, forEver},
                     "Seconds to wait for the server (mostly 10; play --wait: no limit)");
}

/// The options that choose the server and what the process does.
void addProcessOptions(Parser& parser, Settings& settings) {
    const auto addPath = [&parser](const char* name, auto& path, const char* help,
                                   const char* type) {
        const auto take = [&path, name](const std::string& text) {
            if (text.empty()) {
                throw wrongValue(name, "the path is empty");
            }
            path = text;
        };
        parser.add(name, take, help, type);
    };
    addPath("--scenario", settings.scenario, "Station of the simulated server", "FILE");
    parser.addNumber("--speed", settings.speed, {1e-3, 1e6},
                     "Simulated seconds per second (default 1)");
    addPath("--spool", settings.spool,
            "Folder where the simulated server keeps uploads and recordings", "DIR");
    addPath("--state", settings.state, "Folder where the simulated server keeps schedules", "DIR");
    const auto takeClock = [&settings](const std::string& text) {
        const DateTime typed = parseDateTime("--clock", text);
        if (!typed.date || !typed.time) {
            throw wrongValue("--clock", "'" + text + "' is not a date and a time");
        }
        settings.clock = typed;
    };
    parser.add("--clock", takeClock,
               "What time it is at the station at first, as 2026-12-01T05:59 (default: the real "
               "time)",
               "DATETIME");
    parser.addWhole("--debug", settings.debug, {0, 3}, "Verbosity of the log, 0 to 3");
    addPath("--script", settings.script,
            "Run console commands, one a line; - for the standard input", "FILE");
}

/// The parser takes an empty value behind "=" for a missing one, so it becomes a word of its own.
std::vector<std::string> withEmptyValues(const std::vector<std::string>& words) {
    std::vector<std::string> result;
    for (const std::string& word : words) {
        const bool emptyValue =
            word.size() > 3 && word.compare(0, 2, "--") == 0 && word.find('=') == word.size() - 1;
        result.push_back(emptyValue ? word.substr(0, word.size() - 1) : word);
        if (emptyValue) {
            result.emplace_back();
        }
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

}  // namespace

CommandParser::CommandParser(const Settings& defaults, LineKind kind)
    : line_{defaults, {}, {}},
      app_(std::make_unique<CLI::App>("The operator's console of a public-address system.",
                                      "paconsole")) {
    app_->fallthrough();
    app_->require_subcommand(0, 1);
    app_->footer(exitCodes);
    app_->get_formatter()->label("SUBCOMMAND", "COMMAND");
    app_->get_formatter()->column_width(36);
    Parser parser(*app_);
    addLineOptions(parser, line_.settings);
    if (kind == LineKind::Process) {
        addProcessOptions(parser, line_.settings);
        app_->set_version_flag("--version", version, "Print the version");
    }
    for (const Command& command : commands()) {
        CLI::App& subcommand = *app_->add_subcommand(command.name, command.help);
        if (command.ownsProcess && kind != LineKind::Process) {
            subcommand.group("");  // the help leaves it out
            handlers_.emplace_back(refuseInside);
        } else {
            subcommand.group("Commands");
            Parser arguments(subcommand);
            handlers_.push_back(command.define(arguments));
        }
    }
    if (kind == LineKind::Shell) {
        addShellWords();
    }
}

CommandParser::~CommandParser() = default;

void CommandParser::addShellWords() {
    for (const auto& [name, help] : shellWords) {
        app_->add_subcommand(name, help)->group("Shell");
        handlers_.emplace_back();
    }
}

/// A word that is no command or no option where one must stand, with the nearest ones; nothing when
/// there is none.
std::string CommandParser::unknownWordIn(const std::vector<std::string>& words) const {
    CommandPlace place(*app_);
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

/// What is wrong with a line, in the words of the console where commands are concerned.
std::string CommandParser::faultOf(const std::vector<std::string>& words,
                                   const std::exception& error) const {
    if (const std::string unknown = unknownWordIn(words); !unknown.empty()) {
        return unknown;
    }
    CommandPlace place(*app_);
    for (const std::string& word : words) {
        place.pass(word);
    }
    const auto names = place.subcommands();
    const bool lacksCommand = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    return lacksCommand && !names.empty() ? "a command is missing: " + valueText(names)
                                          : error.what();
}

std::optional<CommandLine> CommandParser::read(std::vector<std::string> words, Output& out) {
    if (!words.empty() && words.front() == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    try {
        auto arguments = withEmptyValues(words);
        std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
        app_->parse(arguments);
    } catch (const CLI::CallForHelp&) {
        if (const std::string unknown = unknownWordIn(words); !unknown.empty()) {
            throw Failure(ExitCode::Usage, unknown);
        }
        const std::string help = app_->help();
        out.write(help.back() == '\n' ? help : help + '\n');
        return std::nullopt;
    } catch (const CLI::CallForVersion& wanted) {
        out.write(std::string(wanted.what()) + '\n');
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw Failure(ExitCode::Usage, faultOf(words, error));
    }
    const auto all = app_->get_subcommands({});
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i]->parsed()) {
            line_.command = all[i]->get_name();
            line_.handler = handlers_[i];
        }
    }
    return line_;
}

}  // namespace console
