#pragma once

#include <chrono>
#include <string>

#include "client/Wait.h"
#include "console/Output.h"

namespace console {

/// Shows on a terminal what a command waits for and for how long, from the first second on. Made
/// for `paclient::Wait::whileWaiting`; the status is removed at the end.
class Progress {
public:
    /// @param what as in "for the connection" or "until sink 3 is monitored"
    Progress(Output& diagnostics, std::string what);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// To be called often.
    void operator()(std::chrono::milliseconds waited);

private:
    Output& diagnostics_;
    const std::string what_;
    long long shownSeconds_ = 0;
};

/// A wait that the user can interrupt, shown as above.
/// @param seconds `forEver` at most
paclient::Wait shownWait(Output& diagnostics, const std::string& what, double seconds);

}  // namespace console
