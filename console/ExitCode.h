// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include "client/shortened.h"

namespace console {

/// How a command ended, for the shell.
enum class ExitCode : int {
    Done = 0,
    Usage = 1,  ///< wrong arguments, a file that cannot be used, output that cannot be written
    CannotConnect = 2,   ///< no server, or a scenario file that cannot be used
    NotFound = 3,        ///< no such resource, or more than one
    Refused = 4,         ///< refused, failed, cancelled or pre-empted
    TimedOut = 5,        ///< the outcome is unknown
    ConnectionLost = 8,  ///< while a command was at work
    Interrupted = 130,   ///< SIGINT, SIGTERM or SIGHUP
};

/// Why a command ends early: its text is one line for stderr, or empty when it has been reported.
/// Of a text that quotes something very long, the middle is left out.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& text)
        : std::runtime_error(withoutMiddle(text)), code(exitCode) {}

    const ExitCode code;

private:
    static std::string withoutMiddle(const std::string& text) {
        constexpr std::size_t head = 400;  // characters
        constexpr std::size_t tail = 200;  // bytes
        if (text.size() <= head + tail) {
            return text;
        }
        std::size_t end = text.size() - tail;
        while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
            ++end;  // not in the middle of a character
        }
        return paclient::shortened(text.substr(0, end), head) + text.substr(end);
    }
};

/// @throws Failure with the text unless something holds
inline void require(bool holds, const std::string& text, ExitCode code = ExitCode::Usage) {
    if (!holds) {
        throw Failure(code, text);
    }
}

}  // namespace console
