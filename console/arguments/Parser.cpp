#include "console/arguments/Parser.h"

#include <CLI/CLI.hpp>

namespace console {

namespace {

/// What is wrong when the text of an option is itself an option of the command.
std::string valueMissingBefore(const CLI::App& app, const std::string& text) {
    const bool isOption =
        text.size() > 2 && text[0] == '-' && app.get_option_no_throw(text) != nullptr;
    return isOption ? "a value is missing before " + text : std::string();
}

void refuseOptionsAsValue(const CLI::App& app, CLI::Option& option) {
    option.check([&app](const std::string& text) { return valueMissingBefore(app, text); });
}

}  // namespace

Argument Argument::required() {
    option_->required();
    return *this;
}

Argument Argument::oneOf(const std::vector<std::string>& values) {
    option_->check(CLI::IsMember(values));
    return *this;
}

Argument Argument::oneOrMore() {
    option_->expected(1, greatestWhole)->allow_extra_args();
    return *this;
}

Argument Argument::needs(const Argument& other) {
    option_->needs(other.option_);
    return *this;
}

Argument Argument::excludes(const Argument& other) {
    option_->excludes(other.option_);
    return *this;
}

Argument Parser::add(const std::string& name, const Take& take, const std::string& help,
                     const std::string& type) {
    CLI::Option& option = *app_.add_option_function<std::string>(name, take, help)->type_name(type);
    refuseOptionsAsValue(app_, option);
    return Argument(option);
}

Argument Parser::addTexts(const std::string& name, std::vector<std::string>& values,
                          const std::string& help, const std::string& type) {
    const CLI::callback_t take = [&values](const CLI::results_t& texts) {
        values = texts;
        return true;
    };
    CLI::Option& option = *app_.add_option(name, take, help)->take_all()->type_name(type);
    refuseOptionsAsValue(app_, option);
    return Argument(option);
}

Argument Parser::addFlag(const std::string& name, bool& value, const std::string& help) {
    return Argument(*app_.add_flag(name, value, help));
}

Argument Parser::addFlag(const std::string& name, const std::function<void()>& take,
                         const std::string& help) {
    return Argument(*app_.add_flag_callback(name, take, help));
}

Argument Parser::addSwitch(bool& value) {
    const auto take = [&value](const std::string& text) { value = text == "on"; };
    CLI::Option& option = *app_.add_option_function<std::string>("STATE", take, "on or off");
    option.required()->check(CLI::IsMember({"on", "off"}))->type_name("on|off");
    return Argument(option);
}

Argument Parser::named(const std::string& name) const {
    return Argument(*app_.get_option(name));
}

Parser Parser::addSubcommand(const std::string& name, const std::string& help,
                             const std::function<void()>& chosen) {
    CLI::App& subcommand = *app_.add_subcommand(name, help);
    subcommand.callback(chosen);
    return Parser(subcommand);
}

void Parser::requireSubcommand() {
    app_.require_subcommand(1);
}

}  // namespace console
