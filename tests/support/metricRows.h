// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

/// Name, type and labels of each metric, as a row of the table in the documentation begins.
inline std::set<std::string> rowsOf(const std::string& text) {
    std::map<std::string, std::string> types;
    std::map<std::string, std::set<std::string>> labels;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::smatch parts;
        if (std::regex_match(line, parts, std::regex("# TYPE (\\S+) (\\S+)"))) {
            types[parts[1]] = parts[2];
        } else if (line.front() != '#') {
            std::string name = line.substr(0, line.find_first_of("{ "));
            if (types.count(name) == 0) {  // of a part of a histogram
                name.erase(name.rfind('_'));
            }
            EXPECT_EQ(types.count(name), 1U) << line;
            const std::regex label("[{,](\\w+)=");
            for (std::sregex_iterator at(line.begin(), line.end(), label), end; at != end; ++at) {
                labels[name].insert((*at)[1]);
            }
        }
    }
    std::set<std::string> rows;
    for (const auto& [name, type] : types) {
        std::string names;
        for (const std::string& label : labels[name]) {
            names += (names.empty() ? " `" : ", `") + label + '`';
        }
        rows.insert("| `" + name + "` | " + type + " |" + names + " |");
    }
    return rows;
}

/// The value of a line that begins so.
inline double valueIn(const std::string& text, const std::string& series) {
    const std::size_t at = text.find('\n' + series + ' ');
    EXPECT_NE(at, std::string::npos) << series;
    return at == std::string::npos ? -1 : std::stod(text.substr(at + series.size() + 2));
}

/// The rows of the documentation below a heading, as `rowsOf` writes them.
inline std::set<std::string> documentedRows(const std::string& heading) {
    std::set<std::string> rows;
    std::ifstream page(PA_TESTS "/../docs/metrics.md");
    bool isBelow = false;
    for (std::string line; std::getline(page, line);) {
        std::smatch row;
        isBelow = line.rfind("## ", 0) == 0 ? line == heading : isBelow;
        if (isBelow &&
            std::regex_search(line, row, std::regex("^(\\| `\\w+` \\| \\w+ \\|[^|]*\\|)"))) {
            rows.insert(row[1]);
        }
    }
    return rows;
}
