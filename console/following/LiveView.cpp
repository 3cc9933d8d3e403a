#include "console/following/LiveView.h"

#include <algorithm>
#include <sys/ioctl.h>

#include "console/ExitCode.h"
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

LiveView::LiveView(Output& out) : out_(out) {
    out_.write(hideCursor);
}

LiveView::~LiveView() {
    try {
        out_.write(showCursor);
    } catch (const Failure&) {
        return;  // the terminal is gone
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
        text += line + clearLineEnd + '\n';
    }
    out_.write(text + clearBelow);
    drawn_ = count;
    columns_ = size.columns;
}

}  // namespace console
