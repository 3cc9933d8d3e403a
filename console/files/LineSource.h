#pragma once

#include <string>

namespace console {

/// Where command lines come from: a file, a pipe, the keyboard.
class LineSource {
public:
    LineSource() = default;
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;
    virtual ~LineSource() = default;

    /// The next line, without its end.
    /// @return false when there is none
    /// @throws Failure when the user interrupts, or it cannot be read
    virtual bool next(std::string& line) = 0;
};

}  // namespace console
