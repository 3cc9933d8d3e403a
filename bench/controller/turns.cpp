// SPDX-License-Identifier: Apache-2.0
#include "bench/controller/turns.h"

#include <ctime>

namespace bench {

namespace {

double nsOf(clockid_t clock) {
    constexpr double nsPerSecond = 1e9;
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * nsPerSecond + static_cast<double>(now.tv_nsec);
}

/// What a round takes by both clocks.
struct RoundTimes {
    Samples time;
    Samples processor;
};

}  // namespace

void compareInTurns(const RunSettings& settings, const TurnPlan& plan,
                    const std::vector<Contender*>& contenders) {
    const clockid_t clock = plan.ofThisThread ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC;
    const int rounds = settings.tiny ? 1 : plan.roundsPerTrial;
    std::size_t first = 0;
    for (int trial = 0; trial < settings.trials; ++trial) {
        std::vector<RoundTimes> times(contenders.size());
        for (int round = 0; round < rounds; ++round, ++first) {
            plan.prepare();
            for (std::size_t i = 0; i < contenders.size(); ++i) {
                const std::size_t at = (first + i) % contenders.size();
                const double processor = nsOf(CLOCK_PROCESS_CPUTIME_ID);
                const double start = nsOf(clock);
                contenders[at]->run();
                times[at].time.values.push_back(nsOf(clock) - start);
                times[at].processor.values.push_back(nsOf(CLOCK_PROCESS_CPUTIME_ID) - processor);
                plan.tidy();
            }
        }
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            Contender& contender = *contenders[i];
            contender.samples.values.push_back(times[i].time.median() / plan.itemsPerRound);
            contender.processor.values.push_back(times[i].processor.median() / plan.itemsPerRound);
        }
    }
}

}  // namespace bench
