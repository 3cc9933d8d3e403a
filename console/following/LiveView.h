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

/// The size of a terminal, the usual one when it does not say.
/// @param terminal file descriptor
TerminalSize sizeOfTerminal(int terminal);

/// Lines that are drawn again and again in the same place of a terminal. The destructor leaves them
/// there, with the cursor below.
class LiveView {
public:
    explicit LiveView(Output& out);
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;
    ~LiveView();

    /// Replaces what is drawn, cut to what the terminal has room for. A terminal that has become
    /// wider or narrower has moved the lines about, so it is cleared.
    void draw(const std::vector<std::string>& cleanLines, TerminalSize size);

private:
    Output& out_;
    std::size_t drawn_ = 0;    // lines
    std::size_t columns_ = 0;  // of the terminal, when they were drawn
};

}  // namespace console
