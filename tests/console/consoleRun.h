#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "console/Console.h"
#include "framework/clock.h"

/// @file
/// Runs command lines in the test's own process, with the simulated server much faster than life.

/// The pauses of the record handlers take no time, and the worker's long ones little.
inline void skipPauses() {
    constexpr int longest = 1000;
    const auto sleep = [](int ms) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms > longest ? 20 : 0));
    };
    pa::setTimeSource({nullptr, nullptr, sleep});
}

/// What a command line left behind.
struct Ran {
    int code;
    std::string out;
    std::string err;
};

/// @param speed of the simulated server; at a high one the timetables of its triggers are soon due
inline Ran runConsole(std::vector<std::string> words, const std::string& speed = "500") {
    words.insert(words.begin(), {"--speed", speed});
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
