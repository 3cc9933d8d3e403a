#include "console/arguments/values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <system_error>

#include "console/ExitCode.h"
#include "console/text/recordText.h"

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

Failure notA(const std::string& kind, const std::string& option, const std::string& text,
             const std::string& least, const std::string& greatest) {
    return wrongValue(option,
                      "'" + text + "' is not a " + kind + " from " + least + " to " + greatest);
}

}  // namespace

int parseWhole(const std::string& option, const std::string& text, Whole limits) {
    const auto number = wholeText<int>(text);
    if (!number || *number < limits.least || *number > limits.greatest) {
        throw notA("whole number", option, text, std::to_string(limits.least),
                   std::to_string(limits.greatest));
    }
    return *number;
}

double parseNumber(const std::string& option, const std::string& text, Real limits) {
    const auto number = wholeText<double>(text);
    const bool fits =
        number && std::isfinite(*number) && *number >= limits.least && *number <= limits.greatest;
    if (!fits) {
        throw notA("number", option, text, valueText(limits.least), valueText(limits.greatest));
    }
    return *number;
}

std::vector<unsigned> parseNumberList(const std::string& option, const std::string& text) {
    std::vector<unsigned> numbers;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        const auto number = wholeText<unsigned>(text.substr(at, end - at));
        if (!number) {
            throw wrongValue(option, "'" + text + "' is not a list of numbers with commas between");
        }
        numbers.push_back(*number);
        at = end + 1;
    }
    return numbers;
}

}  // namespace console
