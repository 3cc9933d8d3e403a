// SPDX-License-Identifier: Apache-2.0
#include "panel/ProblemLog.h"

#include "framework/log.h"

namespace papanel {

void ProblemLog::note(const std::string& server, const std::string& problem,
                      const std::string& lost) {
    const bool isNew = problem != noted_ && problem != lost;
    noted_ = problem;
    if (isNew && !problem.empty()) {
        const bool isPlaceKnown = problem.find(server) != std::string::npos;
        handleError(2, "no connection to the audio server%s: %s",
                    isPlaceKnown ? "" : (" at " + server).c_str(), problem.c_str());
    }
}

}  // namespace papanel
