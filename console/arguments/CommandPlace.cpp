// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/CommandPlace.h"

#include <CLI/CLI.hpp>

namespace console {

namespace {

/// The option with this name, of the command or of one around it.
const CLI::Option* findOption(const CLI::App* app, const std::string& name) {
    for (; app != nullptr; app = app->get_parent()) {
        if (const CLI::Option* const option = app->get_option_no_throw(name)) {
            return option;
        }
    }
    return nullptr;
}

}  // namespace

bool looksLikeOption(const std::string& word) {
    return !word.empty() && word[0] == '-';
}

CommandPlace::CommandPlace(const CLI::App& parser, const std::vector<std::string>& words)
    : app_(&parser) {
    for (const std::string& word : words) {
        pass(word);
    }
}

void CommandPlace::pass(const std::string& word) {
    if (awaitsValue()) {
        awaiting_ = nullptr;
        return;
    }
    if (looksLikeOption(word)) {
        const CLI::Option* const option = findOption(app_, word);
        const bool takesValue = option != nullptr && option->get_items_expected_max() > 0;
        awaiting_ = takesValue ? option : nullptr;
        return;
    }
    const auto isNamedSo = [&word](const CLI::App* app) { return app->get_name() == word; };
    const auto found = app_->get_subcommands(isNamedSo);
    if (positionals_.empty() && !found.empty()) {
        app_ = found.front();
    } else {
        positionals_.push_back(word);
    }
}

const CLI::Option* CommandPlace::argument() const {
    if (awaitsValue()) {
        return awaiting_;
    }
    const auto all = app_->get_options([](const CLI::Option* o) { return o->get_positional(); });
    if (positionals_.size() < all.size()) {
        return all[positionals_.size()];
    }
    const bool takesMore = !all.empty() && all.back()->get_expected_max() > 1;
    return takesMore ? all.back() : nullptr;
}

std::vector<std::string> CommandPlace::subcommands() const {
    std::vector<std::string> names;
    if (!awaitsValue() && positionals_.empty()) {
        for (const CLI::App* const app : app_->get_subcommands({})) {
            if (!app->get_group().empty()) {  // not one that the help leaves out
                names.push_back(app->get_name());
            }
        }
    }
    return names;
}

std::vector<std::string> CommandPlace::options() const {
    std::vector<std::string> names;
    for (const CLI::App* app = app_; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* const option : app->get_options()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    return names;
}

bool CommandPlace::isWithin(const std::string& command) const {
    const CLI::App* app = app_;
    while (app != nullptr && app->get_name() != command) {
        app = app->get_parent();
    }
    return app != nullptr;
}

}  // namespace console
