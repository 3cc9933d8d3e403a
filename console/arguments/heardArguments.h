#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/arguments/Parser.h"

namespace console {

/// What is heard, of which a command line gives one.
struct HeardArguments {
    Argument items;
    Argument texts;
    Argument file;
};

/// Adds `--items`, `--text` and `--file`.
/// @param fileHelp, fileType of the file: where it lies differs
HeardArguments addHeard(Parser& parser, std::vector<unsigned>& items,
                        std::vector<std::string>& texts, std::optional<std::string>& file,
                        const std::string& fileHelp, const std::string& fileType);

}  // namespace console
