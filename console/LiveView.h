#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "console/Output.h"

namespace console {

/// Lines that are drawn again and again in the same place of a terminal. The destructor leaves them
/// there, with the cursor below.
class LiveView {
public:
    /// @param terminal file descriptor of the terminal that `out` writes to
    LiveView(Output& out, int terminal);
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;
    ~LiveView();

    /// Replaces what is drawn, cut to what the terminal has room for. A terminal that has become
    /// wider or narrower has moved the lines about, so it is cleared.
    void draw(const std::vector<std::string>& cleanLines);

private:
    Output& out_;
    const int terminal_;
    std::size_t drawn_ = 0;    // lines
    std::size_t columns_ = 0;  // of the terminal, when they were drawn
};

}  // namespace console
