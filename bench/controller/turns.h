// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/resultTable.h"

namespace bench {

struct RunSettings {
    int trials = 9;
    bool tiny = false;  ///< least sizes: only to see that every row runs

    /// A size, or the one in its place in a tiny run.
    [[nodiscard]] int size(int usual, int tinySize = 10) const { return tiny ? tinySize : usual; }
};

/// One of those that are compared: does the same work as the others, in its own way.
struct Contender {
    std::function<void()> run;  ///< one round
    Samples samples{};          ///< ns for each item
    Samples processor{};        ///< the same in processor time of the whole process
};

/// How often, and with what between.
struct TurnPlan {
    int roundsPerTrial = 20;
    double itemsPerRound = 1;
    /// Counts the processor time of this thread, which other programs do not disturb; otherwise the
    /// time that passes.
    bool ofThisThread = true;
    std::function<void()> prepare = [] {};  ///< before each round, not measured
    std::function<void()> tidy = [] {};     ///< after each contender of a round, not measured
};

/// Has the contenders take turns, round by round, another one first in each round. The median of
/// the rounds of a trial is its sample.
void compareInTurns(const RunSettings& settings, const TurnPlan& plan,
                    const std::vector<Contender*>& contenders);

}  // namespace bench
