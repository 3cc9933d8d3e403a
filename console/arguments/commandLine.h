#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "console/Output.h"
#include "console/Settings.h"
#include "console/commands/commands.h"

namespace console {

/// A command line, read.
struct CommandLine {
    Settings settings;
    std::string command;  ///< empty for none
    Handler handler;      ///< of the command
};

/// What a command line may choose: the server and all that the process does, or, on a line of a
/// script or a shell, only what the line itself does.
enum class LineKind { Process, Script, Shell };

/// The parser of command lines.
class CommandParser {
public:
    /// @param defaults what holds where a line says nothing
    CommandParser(const Settings& defaults, LineKind kind);
    ~CommandParser();
    CommandParser(const CommandParser&) = delete;  // the parser points into the line
    CommandParser& operator=(const CommandParser&) = delete;

    /// Reads one command line, or prints the help that it asks for. Not to be called twice.
    /// @param words without the program's name
    /// @return nothing when it asks for help
    /// @throws Failure when it is wrong
    std::optional<CommandLine> read(std::vector<std::string> words, Output& out);

    /// Every command with its options.
    const CLI::App& tree() const { return *app_; }

private:
    void addShellWords();
    std::string unknownWordIn(const std::vector<std::string>& words) const;
    std::string faultOf(const std::vector<std::string>& words, const std::exception& error) const;

    CommandLine line_;
    const std::unique_ptr<CLI::App> app_;
    std::vector<Handler> handlers_;  // of the commands, in the order of their table
};

}  // namespace console
