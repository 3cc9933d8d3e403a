// SPDX-License-Identifier: Apache-2.0
#include "console/following/LiveView.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>

#include "console/ExitCode.h"
#include "console/interrupt.h"
#include "console/text/cleanText.h"

namespace console {

namespace {

constexpr const char* hideCursor = "\x1b[?25l";
constexpr const char* showCursor = "\x1b[?25h";
constexpr const char* clearLineEnd = "\x1b[K";
constexpr const char* clearBelow = "\x1b[J";
constexpr const char* clearScreen = "\x1b[H\x1b[2J";

std::string upwards(std::size_t lines) {
    return lines == 0 ? "\r" : "\r\x1b[" + std::to_string(lines) + "A";
}

}  // namespace

TerminalSize sizeOfTerminal(int terminal) {
    winsize size = {};
    const bool known =
        ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0;
    return known ? TerminalSize{size.ws_col, size.ws_row} : TerminalSize{};
}

bool hasColours(int terminal) {
    const char* const refused = std::getenv("NO_COLOR");
    const char* const type = std::getenv("TERM");
    return terminal >= 0 && (refused == nullptr || *refused == '\0') && type != nullptr &&
           std::strcmp(type, "dumb") != 0;
}

std::string styled(const std::string& cleanText, Style style, bool coloured) {
    constexpr const char* codes[] = {"", "\x1b[1m", "\x1b[32m", "\x1b[31m"};
    return style == Style::Plain || !coloured
               ? cleanText
               : codes[static_cast<int>(style)] + cleanText + "\x1b[0m";
}

std::string bar(double share, std::size_t columns) {
    const double filled = std::isnan(share) ? 0 : std::clamp(share, 0.0, 1.0);
    return std::string(static_cast<std::size_t>(std::lround(filled * static_cast<double>(columns))),
                       '#');
}

LiveView::LiveView(Output& out, bool coloured) : out_(out), coloured_(coloured) {
    interrupt::writeAtEnd(showCursor);
    out_.write(hideCursor);
}

LiveView::~LiveView() {
    interrupt::writeAtEnd(nullptr);
    try {
        out_.write(showCursor);
    } catch (const Failure&) {
        return;  // the terminal is closed
    }
}

void LiveView::draw(const std::vector<std::string>& cleanLines, TerminalSize size) {
    const std::size_t count = std::min(cleanLines.size(), size.rows - 1);  // the cursor has a row
    const bool isResized = drawn_ > 0 && size.columns != columns_;
    std::string text = isResized ? clearScreen : upwards(std::min(drawn_, size.rows - 1));
    for (std::size_t i = 0; i < count; ++i) {
        // The last column stays free: a cursor that has filled it is between two lines.
        std::string line = fitted(cleanLines[i], size.columns - 1);
        line.erase(line.find_last_not_of(' ') + 1);
        text += styled(line, i == 0 ? Style::Bold : Style::Plain, coloured_) + clearLineEnd + '\n';
    }
    out_.write(text + clearBelow);
    drawn_ = count;
    columns_ = size.columns;
}

}  // namespace console
