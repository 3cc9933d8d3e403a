// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// One delivery through a broker of its own.
struct TrialPlan {
    int records;         ///< that the broker holds
    int receivers = 1;   ///< processes
    int changes = 0;     ///< published when all receivers are synced
    int intervalUS = 0;  ///< between changes; 0 for as fast as possible
};

struct TrialResult {
    // Until all receivers are synced.
    double syncedMS = 0;         ///< from the start of the first connection
    double syncProcessorMS = 0;  ///< processor time of a receiver
    double syncBrokerUS = 0;     ///< processor time of the broker for each record sent
    double brokerMiB = 0;
    double brokerPeakMiB = 0;
    double receiverMiB = 0;  ///< private memory of the median receiver
    // The changes.
    double changesPerSecond = 0;     ///< from the first publication to the last arrival
    double changeProcessorUS = 0;    ///< processor time of a receiver, for each change
    double changeBrokerUS = 0;       ///< of the broker, for each change and receiver
    std::vector<double> medianUS{};  ///< of each change, until the median receiver has it
    std::vector<double> lastUS{};    ///< and the last
};

/// @param role of the receivers, of roles.h
/// @throws std::runtime_error when something is missing
TrialResult runTrial(const TrialPlan& plan, const std::string& role);

}  // namespace bench
