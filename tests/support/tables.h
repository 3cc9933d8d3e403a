// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <string>

/// Reads a table of cases "given | expected", a line for each, and requires that
/// `read(given)` returns `expected`, or throws an exception with that text. An indented line
/// continues the one above; one that begins with "#" is a comment. An expectation that ends in
/// "..." is a beginning.
template <class Read>
void expectResults(Read read, const std::string& table) {
    const std::regex row(R"(([^|]*?) *\| *(.*?) *)");
    std::istringstream lines(std::regex_replace(table, std::regex("\n +"), " "));
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        ASSERT_TRUE(std::regex_match(line, parts, row)) << line;
        const std::string expected = parts[2];
        std::string result;
        try {
            result = read(parts[1].str());
        } catch (const std::exception& refused) {
            result = refused.what();
        }
        const std::size_t dots = expected.rfind("...");
        EXPECT_EQ(result.substr(0, dots), expected.substr(0, dots)) << parts[1];
    }
}

/// The table of a test: the lines below "== TEST" in a file, as client/tables/calendar.txt.
inline std::string readTable(const std::filesystem::path& path, const std::string& test) {
    std::ifstream file(std::filesystem::path(PA_TESTS) / path);
    std::string table;
    std::string name;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("== ", 0) == 0) {
            name = line.substr(3);
        } else if (name == test && !line.empty()) {
            table += line + '\n';
        }
    }
    EXPECT_NE(table, "");
    return table;
}

/// That of the running test, in the file for the test's source file: client/tables/calendar.txt for
/// client/calendar_test.cpp.
inline std::string tableOfTest() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::filesystem::path source = test.file();
    const std::string topic = source.stem();
    return readTable(
        source.parent_path().filename() / "tables" / (topic.substr(0, topic.rfind('_')) + ".txt"),
        test.name());
}

/// The same as `expectResults` with that table.
template <class Read>
void expectTable(Read read) {
    expectResults(read, tableOfTest());
}

/// A text with a change "old => new".
inline std::string changed(std::string text, const std::string& change) {
    const std::size_t arrow = change.find(" => ");
    return text.replace(text.find(change.substr(0, arrow)), arrow, change.substr(arrow + 4));
}
