// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "console/Console.h"
#include "console/ExitCode.h"
#include "framework/clock.h"

/// @file
/// Runs command lines in the test's own process, with the simulated server much faster than in real
/// time.

/// The pauses of the record handlers take no time, and the worker's long ones little.
inline void skipPauses() {
    constexpr int longest = 1000;
    const auto sleep = [](int ms) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms > longest ? 20 : 0));
    };
    pa::setTimeSource({nullptr, nullptr, sleep});
}

/// The result of a command line.
struct Ran {
    int code;
    std::string out;
    std::string err;
};

/// The server is fast unless the words begin with --speed. At a high speed the timetables of its
/// triggers are soon due.
inline Ran runConsole(std::vector<std::string> words) {
    if (words.empty() || words[0] != "--speed") {
        words.insert(words.begin(), {"--speed", "500"});
    }
    skipPauses();
    std::ostringstream out;
    std::ostringstream err;
    const int code = console::run(words, {out, err});
    return {code, out.str(), err.str()};
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}
