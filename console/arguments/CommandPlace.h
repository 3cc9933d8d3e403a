// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace console {

/// Where the first words of a command line have led in the parser.
class CommandPlace {
public:
    explicit CommandPlace(const CLI::App& parser, const std::vector<std::string>& words = {});

    /// Moves on by one word.
    void pass(const std::string& word);

    /// Whether the word that comes next is the value of the option before.
    bool awaitsValue() const { return awaiting_ != nullptr; }

    /// The option or positional argument whose value may come next, null for none.
    const CLI::Option* argument() const;

    /// The subcommands that may come next.
    std::vector<std::string> subcommands() const;

    /// The options that may come next, those of the commands around included.
    std::vector<std::string> options() const;

    /// Whether the words have led into this command.
    bool isWithin(const std::string& command) const;

    /// The last positional argument, empty for none.
    std::string lastPositional() const { return positionals_.empty() ? "" : positionals_.back(); }

private:
    const CLI::App* app_;                    // the command so far
    std::vector<std::string> positionals_;   // of that command
    const CLI::Option* awaiting_ = nullptr;  // whose value comes next
};

/// Whether the parser takes the word for an option.
bool looksLikeOption(const std::string& word);

}  // namespace console
