#include "console/options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <system_error>

#include "console/recordText.h"

namespace console {

namespace {

/// Reads the whole text as a number of the type, or says that it is none.
template <class Number>
std::optional<Number> wholeText(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

CLI::ValidationError wrong(const std::string& option, const std::string& text, const char* kind,
                           const std::string& least, const std::string& greatest) {
    return CLI::ValidationError(
        option, "'" + text + "' is not a " + kind + " from " + least + " to " + greatest);
}

}  // namespace

int parseWhole(const std::string& option, const std::string& text, Whole limits) {
    const auto number = wholeText<int>(text);
    if (!number || *number < limits.least || *number > limits.greatest) {
        throw wrong(option, text, "whole number", std::to_string(limits.least),
                    std::to_string(limits.greatest));
    }
    return *number;
}

double parseNumber(const std::string& option, const std::string& text, Real limits) {
    const auto number = wholeText<double>(text);
    const bool fits =
        number && std::isfinite(*number) && *number >= limits.least && *number <= limits.greatest;
    if (!fits) {
        throw wrong(option, text, "number", valueText(limits.least), valueText(limits.greatest));
    }
    return *number;
}

std::vector<unsigned> parseNumberList(const std::string& option, const std::string& text) {
    std::vector<unsigned> numbers;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        const auto number = wholeText<unsigned>(text.substr(at, end - at));
        if (!number) {
            throw CLI::ValidationError(
                option, "'" + text + "' is not a list of numbers with commas between");
        }
        numbers.push_back(*number);
        at = end + 1;
    }
    return numbers;
}

std::string valueMissingBefore(const CLI::App& parser, const std::string& text) {
    const bool isOption =
        text.size() > 2 && text[0] == '-' && parser.get_option_no_throw(text) != nullptr;
    return isOption ? "a value is missing before " + text : std::string();
}

CLI::Option* addSwitch(CLI::App& parser, bool& value) {
    const auto take = [&value](const std::string& text) { value = text == "on"; };
    return parser.add_option_function<std::string>("STATE", take, "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}))
        ->type_name("on|off");
}

CLI::Option* addTexts(CLI::App& parser, const std::string& name, std::vector<std::string>& values,
                      const std::string& help, const std::string& type) {
    const CLI::callback_t take = [&values](const CLI::results_t& texts) {
        values = texts;
        return true;
    };
    return parser.add_option(name, take, help)
        ->take_all()
        ->type_name(type)
        ->check([&parser](const std::string& text) { return valueMissingBefore(parser, text); });
}

}  // namespace console
