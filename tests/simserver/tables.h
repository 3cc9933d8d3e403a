#pragma once

#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>

/// Reads a table of cases "given | expected", of which each ends with a line, and expects of
/// `read(given)` what is said: its result, or why it is refused. An expectation that ends in "..."
/// is a beginning; a line above a case that begins with "#" is a comment.
template <class Read>
void expectResults(Read read, const std::string& table) {
    std::istringstream text(table);
    for (std::string given, expected; std::getline(text >> std::ws, given, '|');) {
        std::getline(text >> std::ws, expected);
        while (given.front() == '#') {
            given.erase(0, given.find('\n') + 1);
        }
        given.erase(given.find_last_not_of(" \n") + 1);
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
