#pragma once

#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>

#include "simserver/protocol/FieldReader.h"

/// Reads a table of cases "given | expected", a line for each, and requires that
/// `read(given)` returns `expected`, or throws an exception with that text. An indented line
/// continues the one above; one that begins with "#" is a comment. An expectation that ends in
/// "..." is a beginning.
template <class Read>
void expectResults(Read read, const std::string& table) {
    const auto trimmed = [](const std::string& text) {
        const std::size_t first = text.find_first_not_of(' ');
        return first == std::string::npos
                   ? ""
                   : text.substr(first, text.find_last_not_of(' ') + 1 - first);
    };
    std::istringstream lines(std::regex_replace(table, std::regex("\n +"), " "));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t bar = line.find('|');
        const std::string given = trimmed(line.substr(0, bar));
        const std::string expected = trimmed(line.substr(bar + 1));
        std::string result;
        try {
            result = read(given);
        } catch (const std::runtime_error& refused) {
            result = refused.what();
        }
        const std::size_t dots = expected.rfind("...");
        EXPECT_EQ(result.substr(0, dots), expected.substr(0, dots)) << given;
    }
}

/// A text without one level of encoding.
inline std::string decoded(const std::string& text) {
    return simserver::NamedField(text).decodedText();
}

/// A text with a change "old => new".
inline std::string changed(std::string text, const std::string& change) {
    const std::size_t arrow = change.find(" => ");
    return text.replace(text.find(change.substr(0, arrow)), arrow, change.substr(arrow + 4));
}
