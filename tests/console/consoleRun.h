#pragma once

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "console/Console.h"
#include "console/shell/Shell.h"
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

/// The result of a command line.
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

/// A line for a shell without a terminal, and what happens before it.
struct ShellLine {
    ShellLine(std::string lineText, std::function<void()> beforeIt = {})  // NOLINT: a conversion
        : text(std::move(lineText)), before(std::move(beforeIt)) {}

    std::string text;
    std::function<void()> before;
};

class ShellLines final : public console::LineSource {
public:
    explicit ShellLines(const std::vector<ShellLine>& lines) : lines_(lines) {}

    bool next(std::string& line) override {
        if (at_ == lines_.size()) {
            return false;
        }
        if (lines_[at_].before) {
            lines_[at_].before();
        }
        line = lines_[at_++].text;
        return true;
    }

private:
    const std::vector<ShellLine>& lines_;
    std::size_t at_ = 0;
};

inline Ran runShell(const std::vector<ShellLine>& input) {
    skipPauses();
    std::ostringstream outText;
    std::ostringstream errText;
    console::Output out(outText);
    console::Output diagnostics(errText);
    const console::Settings settings;
    console::SharedSession connection(settings, diagnostics);
    const console::Context context{settings, out, diagnostics, -1, connection};
    context.session();
    console::ShellNews news(diagnostics);
    ShellLines lines(input);
    const auto code = console::Shell(context, news, false).run(lines);
    return {static_cast<int>(code), outText.str(), errText.str()};
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
