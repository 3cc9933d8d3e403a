// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <mutex>
#include <ostream>
#include <string>

namespace console {

/// Where lines are written: stdout or stderr, or a string in a test. May be used from any thread;
/// lines of two threads never mix.
class Output {
public:
    /// @param beside   its status is removed before a line is written here, as both may be the
    ///                 same terminal; may be null
    /// @param terminal file descriptor of the stream when that is a terminal: a status is shown
    explicit Output(std::ostream& stream, Output* beside = nullptr, int terminal = -1)
        : stream_(stream), beside_(beside), terminal_(terminal) {}

    /// Whether a status is shown here.
    bool isTerminal() const { return terminal_ >= 0; }

    /// Writes whole lines and flushes them.
    /// @throws Failure when they cannot be written
    void write(const std::string& lines);

    /// Whether the reader has closed its end, as `| head -1` does: the process ends then, without a
    /// message.
    bool isClosed() const { return isClosed_; }

    /// Writes one line of diagnostics, made harmless for a terminal. A failure is ignored.
    void diagnostic(const std::string& text);

    /// Shows a line, cut to the terminal's width, that the next line, or the next status, replaces.
    /// @param text empty to remove the status
    void status(const std::string& text);

    /// From now on diagnostics are kept for `takeHeld`, because the cursor is in a line that is
    /// typed.
    void hold();

    /// The lines kept since the last call.
    std::string takeHeld();

    /// Writes the lines kept; later ones are written at once again.
    void release();

private:
    void removeStatus();

    std::atomic<bool> isClosed_{false};
    std::mutex lock_;
    // Guarded by lock_.
    std::ostream& stream_;
    Output* const beside_;
    const int terminal_;
    bool holding_ = false;
    bool hasStatus_ = false;
    std::string held_;
};

}  // namespace console
