#include "console/commandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "console/ExitCode.h"
#include "console/options.h"

namespace console {

namespace {

constexpr const char* version = "paconsole " PA_VERSION;
constexpr const char* exitCodes =
    "Exit codes: 0 done, 1 usage, 2 cannot connect, 3 not found or ambiguous,\n"
    "  4 refused, failed, cancelled or pre-empted, 5 timed out with the outcome unknown,\n"
    "  8 connection lost, 130 interrupted";

/// The options that may stand on every line of a script too.
void addLineOptions(CLI::App& parser, Settings& settings) {
    const auto takeFormat = [&settings](const std::string& text) {
        settings.json = text == "json";
    };
    parser.add_option_function<std::string>("--format", takeFormat, "text (default) or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->type_name("FORMAT");
    addNumber(parser, "--timeout", settings.timeout, {0, forEver},
              "Seconds to wait for the server (default 10; play --wait: no limit)");
}

/// The options that choose the server and what the process does.
void addProcessOptions(CLI::App& parser, Settings& settings) {
    addText(parser, "--scenario", settings.scenario, "Station of the simulated server", "FILE");
    addNumber(parser, "--speed", settings.speed, {1e-3, 1e6},
              "Simulated seconds per second (default 1)");
    addText(parser, "--spool", settings.spool, "Folder where the simulated server keeps uploads",
            "DIR");
    addWhole(parser, "--debug", settings.debug, {0, 3}, "Verbosity of the log, 0 to 3");
    addText(parser, "--script", settings.script,
            "Run console commands, one a line; - for the standard input", "FILE");
    parser.set_version_flag("--version", version, "Print the version");
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

}  // namespace

std::optional<CommandLine> readCommandLine(const std::vector<std::string>& words,
                                           const Settings& defaults, LineKind kind, Output& out) {
    CommandLine line{defaults, {}, {}};
    CLI::App parser("The operator's console of a public-address system.", "paconsole");
    parser.fallthrough();
    parser.require_subcommand(0, 1);
    parser.footer(exitCodes);
    parser.get_formatter()->label("SUBCOMMAND", "COMMAND");
    parser.get_formatter()->column_width(36);
    addLineOptions(parser, line.settings);
    if (kind == LineKind::Process) {
        addProcessOptions(parser, line.settings);
    }
    std::vector<Handler> handlers;
    std::vector<CLI::App*> parsers;
    for (const Command& command : commands()) {
        parsers.push_back(parser.add_subcommand(command.name, command.help)->group("Commands"));
        handlers.push_back(command.define(*parsers.back()));
    }
    try {
        auto arguments = withEmptyValues(words);
        std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
        parser.parse(arguments);
    } catch (const CLI::CallForHelp&) {
        out.write(parser.help());
        return std::nullopt;
    } catch (const CLI::CallForVersion& wanted) {
        out.write(std::string(wanted.what()) + '\n');
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw Failure(ExitCode::Usage, error.what());
    }
    for (std::size_t i = 0; i < parsers.size(); ++i) {
        if (parsers[i]->parsed()) {
            line.command = parsers[i]->get_name();
            line.handler = handlers[i];
        }
    }
    return line;
}

}  // namespace console
