// The cost of a sink record, from its fields to the cache, as a multiple of the least possible: one
// copy of each text and one look-up. The counter "ratio" compares both in the same run.
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "include/common/RecordList.h"
#include "sdk/PAController.h"

namespace {

constexpr int sinks = 1000;

pa::RecordFields sinkFields(int id, int state) {
    pa::RecordFields fields(32);
    fields.set(0, std::to_string(id));
    fields.set(1, "\"Platform 1, north end\"");
    fields.set(2, "\"Canopy speakers \\\"A\\\"\"");
    fields.set(3, "10.20.1.11");
    fields.set(4, "1");
    fields.set(6, "1,2");
    fields.set(7, std::to_string(state));
    fields.set(9, "1");
    fields.set(11, "-12.5");
    fields.set(17, "1");
    fields.set(26, "\"Platform 1^Platform 1/North^Concourse\"");
    fields.set(27, "1");
    return fields;
}

std::vector<std::unique_ptr<pa::RecordList>> records(int state) {
    std::vector<std::unique_ptr<pa::RecordList>> all;
    for (int id = 0; id < sinks; ++id) {
        all.push_back(std::make_unique<pa::RecordList>(sinkFields(id, state)));
    }
    return all;
}

/// Copies every text of a record and looks its key up.
void reference(TEVlist& record, int key, std::map<int, PaSink>& cache) {
    for (const TEVnode* node = record.listTop; node != nullptr; node = node->nextNode) {
        const char* const text = *static_cast<char**>(node->dataPtr);
        std::string copy(text == nullptr ? "" : text);
        benchmark::DoNotOptimize(copy);
    }
    benchmark::DoNotOptimize(cache.find(key));
}

using Clock = std::chrono::steady_clock;

/// Passes every record of `first`, then of `second`, to the controller, again and again.
void decodeAndMerge(benchmark::State& state, int firstState, int secondState) {
    static PAController& controller = *new PAController;  // never destroyed
    const auto first = records(firstState);
    const auto second = records(secondState);
    std::map<int, PaSink> cache;
    for (int id = 0; id < sinks; ++id) {
        cache[id] = PaSink();
    }
    std::int64_t done = 0;
    Clock::duration measured{};
    Clock::duration floor{};
    for ([[maybe_unused]] auto round : state) {
        const auto& batch = done % 2 == 0 ? first : second;
        const auto start = Clock::now();
        for (int id = 0; id < sinks; ++id) {
            controller.addUpdatePaSink(id + 1, batch[static_cast<std::size_t>(id)]->list());
        }
        measured += Clock::now() - start;
        state.PauseTiming();
        const auto startOfReference = Clock::now();
        for (int id = 0; id < sinks; ++id) {
            reference(*batch[static_cast<std::size_t>(id)]->list(), id, cache);
        }
        floor += Clock::now() - startOfReference;
        EventItem event;
        while (pa::eventQueue::next(event)) {
        }
        ++done;
        state.ResumeTiming();
    }
    state.SetItemsProcessed(done * sinks);
    state.counters["ratio"] =
        static_cast<double>(measured.count()) / static_cast<double>(floor.count());
}

}  // namespace

BENCHMARK_CAPTURE(decodeAndMerge, unchanged, 1, 1);
BENCHMARK_CAPTURE(decodeAndMerge, changed, 1, 2);
