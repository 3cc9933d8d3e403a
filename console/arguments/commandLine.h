// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "console/Console.h"
#include "console/commands/commands.h"

namespace console {

/// A command line, read.
struct CommandLine {
    Settings settings;
    std::string command;  ///< its name, as in "source attach"; empty for none
    Handler handler;      ///< of the command; empty for a word of the shell
};

/// The parser of command lines.
class CommandParser {
public:
    /// @param defaults the settings that a line does not change
    CommandParser(const Settings& defaults, LineKind kind);
    CommandParser(const CommandParser&) = delete;  // the app points into the line
    CommandParser& operator=(const CommandParser&) = delete;

    /// Reads one command line, or prints the help that it asks for. Not to be called twice.
    /// @param words without the program's name
    /// @return nothing when it asks for help
    /// @throws Failure when it is wrong
    std::optional<CommandLine> read(std::vector<std::string> words, Output& out);

    /// Every command with its options.
    const CLI::App& tree() const { return app_; }

private:
    CLI::App* addCommand(CLI::App& above, const Command& command);
    std::string unknownWordIn(const std::vector<std::string>& words) const;
    std::string faultOf(const std::vector<std::string>& words, const std::exception& error) const;

    CommandLine line_;
    const LineKind kind_;
    CLI::App app_;
    std::map<const CLI::App*, Handler> handlers_;  // of the commands that do something
};

}  // namespace console
