// SPDX-License-Identifier: Apache-2.0
#include "operating/options.h"

#include <algorithm>
#include <stdexcept>

#include "client/recordText.h"

namespace paoperating {

using namespace paclient;

namespace {

/// An option that follows another one is not its value.
CLI::Option* refuseOptionAsValue(const CLI::App& app, CLI::Option* option) {
    return option->check([&app](const std::string& text) {
        const bool isOption =
            text.size() > 2 && text[0] == '-' && app.get_option_no_throw(text) != nullptr;
        return isOption ? "a value is missing before " + text : std::string();
    });
}

}  // namespace

template <class Number>
Number parseNumber(const std::string& text, Limits<Number> limits) {
    const auto number = wholeText<Number>(text);
    const bool fits = number && *number >= limits.least && *number <= limits.greatest;
    if (!fits) {
        const std::string kind = std::is_integral_v<Number> ? "whole number" : "number";
        throw std::invalid_argument("'" + text + "' is not a " + kind + " from " +
                                    valueText(limits.least) + " to " + valueText(limits.greatest));
    }
    return *number;
}
template int parseNumber(const std::string&, Whole);
template double parseNumber(const std::string&, Real);

CLI::Option* addParsed(CLI::App& app, const std::string& name,
                       const std::function<void(const std::string& text)>& take,
                       const std::string& help, const std::string& type) {
    const auto takeOrRefuse = [take, name](const std::string& text) {
        try {
            take(text);
        } catch (const std::invalid_argument& fault) {
            throw std::invalid_argument(name + ": " + fault.what());
        }
    };
    return refuseOptionAsValue(
        app, app.add_option_function<std::string>(name, takeOrRefuse, help)->type_name(type));
}

CLI::Option* addPath(CLI::App& app, const std::string& name, std::filesystem::path& path,
                     const std::string& help, const std::string& type) {
    const auto take = [&path](const std::string& text) {
        if (text.empty()) {
            throw std::invalid_argument("the path is empty");
        }
        path = text;
    };
    return addParsed(app, name, take, help, type);
}

CLI::Option* addTexts(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                      const std::string& help, const std::string& type) {
    // A variable given to the library itself would lose the text "{}".
    const CLI::callback_t take = [&values](const CLI::results_t& texts) {
        values = texts;
        return true;
    };
    return refuseOptionAsValue(app, app.add_option(name, take, help)->take_all()->type_name(type));
}

CLI::Option* addTextList(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                         const std::string& help) {
    // With allow_extra_args the library splits "[a,b]". It never asks for the least number.
    constexpr int asManyAsCome = CLI::detail::expected_max_vector_size;
    return addTexts(app, name, values, help, name)->expected(asManyAsCome, asManyAsCome);
}

CLI::Option* addSwitch(CLI::App& app, bool& value) {
    const auto take = [&value](const std::string& text) { value = text == "on"; };
    return addParsed(app, "STATE", take, "on or off", "on|off")
        ->required()
        ->check(oneOf({"on", "off"}));
}

CLI::Validator oneOf(const std::vector<std::string>& values) {
    const auto check = [values](const std::string& text) {
        const bool isKnown = std::find(values.begin(), values.end(), text) != values.end();
        return isKnown ? std::string() : "'" + text + "' is none of " + valueText(values);
    };
    return {check, CLI::detail::generate_set(values)};
}

}  // namespace paoperating
