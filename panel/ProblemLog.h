// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace papanel {

/// Logs why there is no connection to the audio server, once for each reason. For one thread.
class ProblemLog {
public:
    /// @param server  where it is
    /// @param problem empty with a connection
    /// @param lost    why the connection was lost, which the link has logged
    void note(const std::string& server, const std::string& problem, const std::string& lost);

private:
    std::string noted_;
};

}  // namespace papanel
