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

    /// From now on diagnostics are kept for `takeHeld`, because somebody else has the cursor.
    void hold();

    /// What has been kept since it was last asked for.
    std::string takeHeld();

    /// Writes what has been kept, and from now on all at once again.
    void release();

private:
    std::mutex lock_;
    // Guarded by lock_.
    std::ostream& stream_;
    bool holding_ = false;
    std::string held_;
};

}  // namespace console
