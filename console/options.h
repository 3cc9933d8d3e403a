#pragma once

#include <CLI/CLI.hpp>
#include <limits>
#include <string>
#include <vector>

/// @file
/// Options of the command line whose values are read strictly: decimal numbers and nothing behind
/// them, texts as they stand.

namespace console {

/// The least and the greatest value allowed.
struct Whole {
    int least;
    int greatest;
};
struct Real {
    double least;
    double greatest;
};

constexpr int greatestWhole = std::numeric_limits<int>::max();
constexpr Whole anyWhole{std::numeric_limits<int>::min(), greatestWhole};

/// A whole number within limits.
/// @throws CLI::ValidationError that names the option, with what would be right
int parseWhole(const std::string& option, const std::string& text, Whole limits);

/// A finite number within limits, not a hexadecimal one.
/// @throws CLI::ValidationError as above
double parseNumber(const std::string& option, const std::string& text, Real limits);

/// `--items 12,40`: numbers with commas between.
/// @throws CLI::ValidationError as above
std::vector<unsigned> parseNumberList(const std::string& option, const std::string& text);

/// An option with one whole number.
/// @param value an int, or an optional one
template <class Target>
CLI::Option* addWhole(CLI::App& parser, const std::string& name, Target& value, Whole limits,
                      const std::string& help) {
    const auto take = [&value, name, limits](const std::string& text) {
        value = parseWhole(name, text, limits);
    };
    return parser.add_option_function<std::string>(name, take, help)->type_name("N");
}

/// An option with one number.
/// @param value a double, or an optional one
template <class Target>
CLI::Option* addNumber(CLI::App& parser, const std::string& name, Target& value, Real limits,
                       const std::string& help) {
    const auto take = [&value, name, limits](const std::string& text) {
        value = parseNumber(name, text, limits);
    };
    return parser.add_option_function<std::string>(name, take, help)->type_name("NUMBER");
}

/// A positional argument that is `on` or `off`.
CLI::Option* addSwitch(CLI::App& parser, bool& value);

/// What is wrong when the text of an option is itself an option of the command: its own value was
/// forgotten. Empty for any other text.
std::string valueMissingBefore(const CLI::App& parser, const std::string& text);

/// An option or a positional argument with one text.
/// @param value anything that a text can be assigned to
template <class Target>
CLI::Option* addText(CLI::App& parser, const std::string& name, Target& value,
                     const std::string& help, const std::string& type = "TEXT") {
    const auto take = [&value](const std::string& text) { value = text; };
    return parser.add_option_function<std::string>(name, take, help)
        ->type_name(type)
        ->check([&parser](const std::string& text) { return valueMissingBefore(parser, text); });
}

/// An option that may be given several times, with one text each time.
CLI::Option* addTexts(CLI::App& parser, const std::string& name, std::vector<std::string>& values,
                      const std::string& help, const std::string& type);

}  // namespace console
