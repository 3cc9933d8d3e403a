#pragma once

#include <functional>
#include <string>
#include <vector>

#include "console/arguments/values.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace console {

/// An option or a positional argument, and what else holds of it. A small handle.
class Argument {
public:
    explicit Argument(CLI::Option& option) : option_(&option) {}

    Argument required();
    Argument oneOf(const std::vector<std::string>& values);
    Argument oneOrMore();  ///< of a positional argument: it may be given several times
    Argument needs(const Argument& other);
    Argument excludes(const Argument& other);

private:
    CLI::Option* option_;
};

/// Takes the arguments of one command. Their values are written, when a line is read, to the
/// variables that are named here; a value is read strictly, and a Failure says what is wrong with
/// it. (What reads command lines is known to a few sources alone: it is slow to compile.)
class Parser {
public:
    using Take = std::function<void(const std::string& text)>;

    explicit Parser(CLI::App& app) : app_(app) {}

    /// An argument whose text a function takes. An option of the command is no text: then the value
    /// was forgotten.
    /// @param take may throw a Failure
    Argument add(const std::string& name, const Take& take, const std::string& help,
                 const std::string& type);

    /// An argument with one text as it stands.
    /// @param value a string, or an optional one
    template <class Target>
    Argument addText(const std::string& name, Target& value, const std::string& help,
                     const std::string& type = "TEXT") {
        return add(
            name, [&value](const std::string& text) { value = text; }, help, type);
    }

    /// An argument with one whole number.
    /// @param value an int, or an optional one
    template <class Target>
    Argument addWhole(const std::string& name, Target& value, Whole limits,
                      const std::string& help) {
        const auto take = [&value, name, limits](const std::string& text) {
            value = parseWhole(name, text, limits);
        };
        return add(name, take, help, "N");
    }

    /// An argument with one number.
    /// @param value a double, or an optional one
    template <class Target>
    Argument addNumber(const std::string& name, Target& value, Real limits,
                       const std::string& help) {
        const auto take = [&value, name, limits](const std::string& text) {
            value = parseNumber(name, text, limits);
        };
        return add(name, take, help, "NUMBER");
    }

    /// An option that may be given several times, with one text each time.
    Argument addTexts(const std::string& name, std::vector<std::string>& values,
                      const std::string& help, const std::string& type);

    /// An option without a value.
    Argument addFlag(const std::string& name, bool& value, const std::string& help);
    Argument addFlag(const std::string& name, const std::function<void()>& take,
                     const std::string& help);

    /// A positional argument that is `on` or `off`.
    Argument addSwitch(bool& value);

    /// An argument that is there already.
    Argument named(const std::string& name) const;

    /// Adds a command below this one.
    /// @param chosen called when a line names it
    Parser addSubcommand(const std::string& name, const std::string& help,
                         const std::function<void()>& chosen);

    /// A line must name one of the commands below.
    void requireSubcommand();

private:
    CLI::App& app_;
};

}  // namespace console
