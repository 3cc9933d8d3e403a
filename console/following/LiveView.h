// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "console/Output.h"

namespace console {

struct TerminalSize {
    std::size_t columns = 80;
    std::size_t rows = 24;
};

/// The size of a terminal, 80 by 24 when it is unknown.
/// @param terminal file descriptor
TerminalSize sizeOfTerminal(int terminal);

/// Whether the terminal shows colours and the user wants them: NO_COLOR is not set, TERM is not
/// "dumb".
/// @param terminal file descriptor, -1 for none
bool hasColours(int terminal);

enum class Style { Plain, Bold, Good, Bad };

/// The text in a style, when the terminal has colours.
std::string styled(const std::string& cleanText, Style style, bool coloured);

/// A bar of # for a share from 0 to 1; empty for no number.
std::string bar(double share, std::size_t columns);

/// Lines that are drawn again and again in the same place of a terminal. The destructor leaves them
/// there, with the cursor below; a signal that ends the process restores the cursor too.
class LiveView {
public:
    /// @param coloured whether the first line of each drawing is bold
    explicit LiveView(Output& out, bool coloured = false);
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;
    ~LiveView();

    /// Replaces what is drawn, cut to the size of the terminal. A terminal whose width has changed
    /// has wrapped the lines, so it is cleared.
    void draw(const std::vector<std::string>& cleanLines, TerminalSize size);

private:
    Output& out_;
    const bool coloured_;
    std::size_t drawn_ = 0;    // lines
    std::size_t columns_ = 0;  // of the terminal, when they were drawn
};

}  // namespace console
