// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/options.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "client/recordText.h"
#include "console/ExitCode.h"

namespace console {

using namespace paclient;

namespace {

/// Reads the whole text as a number of the type.
/// @return nothing when it is none
template <class Number>
std::optional<Number> wholeText(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// `12,40`: numbers with commas between.
std::vector<unsigned> parseNumberList(const std::string& text) {
    std::vector<unsigned> numbers;
    for (const std::string& part : CLI::detail::split(text + ',', ',')) {
        const auto number = wholeText<unsigned>(part);
        if (!number) {
            throw std::invalid_argument("'" + text +
                                        "' is not a list of numbers with commas between");
        }
        numbers.push_back(*number);
    }
    return numbers;
}

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
            throw Failure(ExitCode::Usage, name + ": " + fault.what());
        }
    };
    return refuseOptionAsValue(
        app, app.add_option_function<std::string>(name, takeOrRefuse, help)->type_name(type));
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

void addAudioOptions(CLI::App& app, paoperating::AudioRequest& audio, const std::string& fileHelp,
                     const std::string& fileType) {
    const auto takeItems = [&audio](const std::string& text) {
        audio.items = parseNumberList(text);
    };
    CLI::Option* const items =
        addParsed(app, "--items", takeItems, "Dictionary items to play", "N,N...");
    CLI::Option* const texts =
        addTexts(app, "--text", audio.texts, "A text to speak; repeatable", "TEXT");
    addText(app, "--file", audio.file, fileHelp, fileType)->excludes(items)->excludes(texts);
    texts->excludes(items);
    addWhole(app, "--repeat", audio.repeat, {1, greatestWhole},
             "How often the items are played (default 1)");
    addText(app, "--language", audio.language, "Language of the texts");
    addText(app, "--voice", audio.voice, "Voice of the texts");
}

}  // namespace console
