#include "bench/controller/turns.h"

#include <ctime>

namespace bench {

namespace {

double nsOf(const std::function<void()>& call, clockid_t clock) {
    constexpr double nsPerSecond = 1e9;
    timespec start{};
    timespec end{};
    clock_gettime(clock, &start);
    call();
    clock_gettime(clock, &end);
    return static_cast<double>(end.tv_sec - start.tv_sec) * nsPerSecond +
           static_cast<double>(end.tv_nsec - start.tv_nsec);
}

}  // namespace

void compareInTurns(const RunSettings& settings, const TurnPlan& plan,
                    const std::vector<Contender*>& contenders) {
    const clockid_t clock = plan.ofThisThread ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC;
    const int rounds = settings.tiny ? 1 : plan.roundsPerTrial;
    std::size_t first = 0;
    for (int trial = 0; trial < settings.trials; ++trial) {
        std::vector<Samples> times(contenders.size());
        for (int round = 0; round < rounds; ++round, ++first) {
            plan.prepare();
            for (std::size_t i = 0; i < contenders.size(); ++i) {
                const std::size_t at = (first + i) % contenders.size();
                times[at].values.push_back(nsOf(contenders[at]->run, clock));
                plan.tidy();
            }
        }
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            contenders[i]->samples.values.push_back(times[i].median() / plan.itemsPerRound);
        }
    }
}

}  // namespace bench
