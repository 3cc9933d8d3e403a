// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <filesystem>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

/// @file
/// Options and positional arguments of a program or a command, added to its CLI::App. Values are
/// read strictly: a text as it is, decimal numbers within limits and nothing after them. What is
/// wrong with a value is a std::invalid_argument that names the option, thrown by the parser. The
/// variables given here receive the values and must outlive the app.

namespace paoperating {

/// The least and the greatest value allowed, both finite.
template <class Number>
struct Limits {
    Number least;
    Number greatest;
};

using Whole = Limits<int>;
using Real = Limits<double>;

constexpr int greatestWhole = std::numeric_limits<int>::max();
constexpr Whole anyWhole{std::numeric_limits<int>::min(), greatestWhole};

/// Reads the whole text as a number of the type.
/// @return nothing when it is none
template <class Number>
std::optional<Number> wholeText(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// A decimal number: an int or a double.
/// @throws std::invalid_argument with what would be right
template <class Number>
Number parseNumber(const std::string& text, Limits<Number> limits);

/// An argument whose text a function takes. The name of an option is no value: the value is missing
/// then.
/// @param take may throw std::invalid_argument: the name is put before its text
CLI::Option* addParsed(CLI::App& app, const std::string& name,
                       const std::function<void(const std::string& text)>& take,
                       const std::string& help, const std::string& type);

/// @param value a string, or an optional one
template <class Target>
CLI::Option* addText(CLI::App& app, const std::string& name, Target& value, const std::string& help,
                     const std::string& type = "TEXT") {
    return addParsed(
        app, name, [&value](const std::string& text) { value = text; }, help, type);
}

/// @param value an int, or an optional one
template <class Target>
CLI::Option* addWhole(CLI::App& app, const std::string& name, Target& value, Whole limits,
                      const std::string& help) {
    const auto take = [&value, limits](const std::string& text) {
        value = parseNumber(text, limits);
    };
    return addParsed(app, name, take, help, "N");
}

/// @param value a double, or an optional one
template <class Target>
CLI::Option* addNumber(CLI::App& app, const std::string& name, Target& value, Real limits,
                       const std::string& help) {
    const auto take = [&value, limits](const std::string& text) {
        value = parseNumber(text, limits);
    };
    return addParsed(app, name, take, help, "NUMBER");
}

/// @param path not to be empty
CLI::Option* addPath(CLI::App& app, const std::string& name, std::filesystem::path& path,
                     const std::string& help, const std::string& type);

/// An option that may be given several times, with one text each time.
CLI::Option* addTexts(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                      const std::string& help, const std::string& type);

/// A positional argument that is given once or more.
CLI::Option* addTextList(CLI::App& app, const std::string& name, std::vector<std::string>& values,
                         const std::string& help);

/// A positional argument that is `on` or `off`.
CLI::Option* addSwitch(CLI::App& app, bool& value);

/// The only values of an option. Help and completion list them.
CLI::Validator oneOf(const std::vector<std::string>& values);

}  // namespace paoperating
