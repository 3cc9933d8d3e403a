#pragma once

#include <mutex>
#include <ostream>
#include <string>

namespace console {

/// Where lines go: stdout or stderr, or a string in a test. May be used from any thread; lines of
/// two threads never mix.
class Output {
public:
    explicit Output(std::ostream& stream) : stream_(stream) {}

    /// Writes whole lines and flushes them.
    /// @throws Failure when they cannot be written
    void write(const std::string& lines);

    /// Writes one line of diagnostics, made harmless for a terminal. Nobody hears of a failure.
    void diagnostic(const std::string& text);

private:
    std::mutex lock_;
    std::ostream& stream_;  // guarded by lock_
};

}  // namespace console
