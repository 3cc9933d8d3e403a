// SPDX-License-Identifier: Apache-2.0
#include "console/arguments/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <set>

#include "client/letterCase.h"
#include "console/arguments/CommandPlace.h"
#include "console/arguments/words.h"
#include "console/text/cleanText.h"

namespace console {

namespace {

/// What the value of an argument names.
struct ArgumentRow {
    const char* command;   ///< empty for any
    const char* argument;  ///< an option, or a positional argument as the help writes it
    const char* kind;      ///< empty: the word before is the kind
    bool isList = false;   ///< several values, with commas between
};

/// The first row that fits counts. Arguments with listed values need none.
constexpr ArgumentRow argumentRows[] = {
    {"", "--zones", "zone", true},
    {"", "ZONE", "zone"},
    {"", "--source", "source"},
    {"", "SOURCE", "source"},
    {"", "--voice", "voice"},
    {"", "--language", "language"},
    {"source", "ID", "source"},
    {"sink", "ID", "sink"},
    {"trigger", "ID", "trigger"},
    {"selector", "ID", "selector"},
    {"schedule", "ID", "schedule"},
    {"cancel", "ID", "announcement"},
    {"get", "ID", ""},
};

const ArgumentRow* rowOf(const CLI::Option* argument, const CommandPlace& place) {
    const auto fits = [&](const ArgumentRow& row) {
        return argument != nullptr && argument->get_name() == row.argument &&
               (*row.command == '\0' || place.isWithin(row.command));
    };
    const auto* const found = std::find_if(std::begin(argumentRows), std::end(argumentRows), fits);
    return found == std::end(argumentRows) ? nullptr : found;
}

/// The listed values of an argument: its type ends in ":{a,b}" then.
std::vector<std::string> listedValues(const CLI::Option* argument) {
    const std::string type = argument == nullptr ? "" : argument->get_type_name();
    const std::size_t open = type.find(":{");
    const std::size_t close = type.find('}', open);
    if (open == std::string::npos || close == std::string::npos) {
        return {};
    }
    return CLI::detail::split(type.substr(open + 2, close - open - 2), ',');
}

/// The word at the cursor.
struct TypedWord {
    std::size_t begin;
    std::string head;  ///< stays as it is: an option with its "=", the list before a comma
    std::string tail;  ///< to be completed

    void moveToHead(std::size_t length) {
        head += tail.substr(0, length);
        tail.erase(0, length);
    }
};

bool startsWith(const std::string& text, const std::string& beginning) {
    return paclient::lowered(text).compare(0, beginning.size(), paclient::lowered(beginning)) == 0;
}

bool canBeTyped(const std::string& name) {
    return !name.empty() && clean(name) == name && !looksLikeOption(name);
}

/// The names that the argument may have.
std::vector<std::string> valuesFor(const CommandPlace& place, TypedWord& typed,
                                   const NamesOf& namesOf) {
    std::vector<std::string> values = listedValues(place.argument());
    const ArgumentRow* const row = rowOf(place.argument(), place);
    if (row == nullptr) {
        return values;
    }
    const std::size_t comma = row->isList ? typed.tail.rfind(',') : std::string::npos;
    const bool inList = comma != std::string::npos;
    if (inList) {
        typed.moveToHead(comma + 1);
    }
    for (const std::string& name :
         namesOf(*row->kind == '\0' ? place.lastPositional() : row->kind)) {
        const bool wouldBeParted = inList && name.find(',') != std::string::npos;
        if (canBeTyped(name) && !wouldBeParted) {
            values.push_back(name);
        }
    }
    return values;
}

std::vector<std::string> choicesFor(CommandPlace& place, TypedWord& typed, const NamesOf& namesOf) {
    if (!place.awaitsValue() && looksLikeOption(typed.tail)) {
        const std::size_t equals = typed.tail.find('=');
        if (equals == std::string::npos) {
            return place.options();
        }
        place.pass(typed.tail.substr(0, equals));
        typed.moveToHead(equals + 1);
        return place.awaitsValue() ? valuesFor(place, typed, namesOf) : std::vector<std::string>();
    }
    auto choices = place.subcommands();
    for (const std::string& value : valuesFor(place, typed, namesOf)) {
        choices.push_back(value);
    }
    return choices;
}

/// What all of them begin with.
std::string commonBeginning(const std::vector<std::string>& sorted) {
    const std::string& first = sorted.front();
    const std::string& last = sorted.back();
    const auto end = std::mismatch(first.begin(), first.end(), last.begin(), last.end());
    std::string result(first.begin(), end.first);
    while (!isUtf8(result)) {
        result.pop_back();  // not in the middle of a character
    }
    return result;
}

bool isNumber(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

Completion complete(const std::string& line, const CLI::App& parser, const NamesOf& namesOf) {
    LineScan scan = scanWords(line);
    TypedWord typed{line.size(), "", ""};
    if (scan.endsInComment || scan.endsInBackslash) {
        return {typed.begin, "", {}};
    }
    if (scan.endsInWord) {
        typed = {scan.lastBegin, "", scan.words.back()};
        scan.words.pop_back();
    }
    if (!scan.words.empty() && scan.words.front() == "help") {
        scan.words.erase(scan.words.begin());  // it may precede any command
    }
    CommandPlace place(parser, scan.words);
    std::set<std::string> fitting;
    for (const std::string& choice : choicesFor(place, typed, namesOf)) {
        if (startsWith(choice, typed.tail)) {
            fitting.insert(choice);
        }
    }
    std::vector<std::string> choices(fitting.begin(), fitting.end());

    Completion result{typed.begin, "", {}};
    if (choices.size() == 1) {
        result.word = quoted(typed.head + choices.front()) + ' ';
    } else if (!choices.empty()) {
        const std::string common = commonBeginning(choices);
        result.word =
            quotedBeginning(typed.head + (common.size() < typed.tail.size() ? typed.tail : common));
    }
    if (std::all_of(choices.begin(), choices.end(), isNumber)) {
        const auto isShorter = [](const auto& a, const auto& b) { return a.size() < b.size(); };
        std::stable_sort(choices.begin(), choices.end(), isShorter);  // in order of their values
    }
    result.choices = std::move(choices);
    return result;
}

}  // namespace console
