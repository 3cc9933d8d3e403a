#pragma once

#include <chrono>
#include <string>

#include "console/Output.h"

namespace console {

/// Shows on a terminal what a command waits for and for how long, from the first second on. Made
/// for `paclient::Wait::whileWaiting`, as `std::ref(progress)`; the status is removed at the end.
class Progress {
public:
    /// @param what     as in "the server's answer"
    /// @param expected how long it usually takes; 0 when that is not known
    Progress(Output& diagnostics, std::string what,
             std::chrono::milliseconds expected = std::chrono::milliseconds(0));
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// To be called often.
    /// @throws Failure when the user interrupts
    void operator()(std::chrono::milliseconds waited);

private:
    Output& diagnostics_;
    const std::string what_;
    const std::chrono::milliseconds expected_;
    long long shownSeconds_ = 0;
};

}  // namespace console
