// SPDX-License-Identifier: Apache-2.0
// One thread that handles changed records beside four that look records up.
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <thread>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/controller/references.h"
#include "framework/log.h"

namespace bench {

namespace {

using Kind = SinkKind;

/// Threads that look up random keys while they may.
class Readers {
public:
    using LookUp = std::function<void(int key)>;

    explicit Readers(int keys) {
        for (unsigned i = 0; i < count; ++i) {
            std::thread([this, keys, i] { run(keys, i + 1); }).detach();
        }
    }

    void begin(const LookUp& lookUp) {
        lookUps_ = 0;
        lookUp_ = &lookUp;
    }

    /// @return how often they have looked something up
    std::uint64_t end() {
        lookUp_ = nullptr;
        while (inside_ > 0) {
            std::this_thread::yield();
        }
        return lookUps_;
    }

private:
    static constexpr unsigned count = 4;

    void run(int keys, unsigned seed) {
        std::minstd_rand random(seed);
        std::uniform_int_distribution<int> key(1, keys);
        while (true) {
            ++inside_;
            const LookUp* const lookUp = lookUp_;
            if (lookUp != nullptr) {
                (*lookUp)(key(random));
                ++lookUps_;
            }
            --inside_;
            if (lookUp == nullptr) {
                std::this_thread::yield();
            }
        }
    }

    std::atomic<const LookUp*> lookUp_{nullptr};
    std::atomic<int> inside_{0};
    std::atomic<std::uint64_t> lookUps_{0};
};

using Handle = std::function<void(int key, TEVlist& list)>;

/// The records of a station of sinks, each in two versions that take turns.
class ChangingSinks {
public:
    explicit ChangingSinks(int keys) : keys_(keys) {
        for (const int version : {0, 1}) {
            for (int key = 1; key <= keys; ++key) {
                lists_.push_back(std::make_unique<pa::RecordList>(Kind::fields(key, version)));
            }
        }
    }

    /// Has all of them handled, and then changes, until the time is over.
    /// @return how many per second
    double handle(const Handle& handle, std::chrono::milliseconds time) const {
        const auto start = std::chrono::steady_clock::now();
        std::chrono::duration<double> passed{};
        std::size_t done = 0;
        do {
            const std::size_t at = done++ % lists_.size();
            handle(1 + static_cast<int>(at) % keys_, *lists_[at]->list());
            passed = std::chrono::steady_clock::now() - start;
        } while (passed < time || done < lists_.size());
        return static_cast<double>(done) / passed.count();
    }

private:
    int keys_;
    std::vector<std::unique_ptr<pa::RecordList>> lists_;
};

/// A cache, the way its records arrive, and what is measured of it.
struct ReadCache {
    Handle handle;
    Readers::LookUp lookUp;
    std::function<void()> tidy;
    Samples records{};
    Samples lookUps{};
};

std::vector<ResultRow> fourReaders(const RunSettings& settings) {
    pa::setLogSink([](const pa::LogLine&) {});
    gPaController.registerObserver(new pa::PAControllerObserverAdapter);  // never destroyed
    const std::chrono::milliseconds turn(settings.size(50, 1));
    const int keys = settings.size(1000);
    const ChangingSinks sinks(keys);
    Readers& readers = *new Readers(keys);  // its threads do not end
    ContractFloor<Kind> floor;
    ReadCache controller{
        [](int key, TEVlist& list) { Kind::handle(gPaController, key, &list); },
        [](int key) { benchmark::DoNotOptimize(Kind::find(gPaController, key)); },
        [] {
            EventItem event;
            while (pa::eventQueue::next(event)) {
            }
        },
    };
    ReadCache plain{
        [&](int key, TEVlist& list) { floor.take(key, list); },
        [&](int key) { benchmark::DoNotOptimize(floor.copyOf(key)); },
        [&] { floor.clearEvents(); },
    };
    for (int trial = 0; trial < settings.trials; ++trial) {
        for (ReadCache* const cache :
             trial % 2 == 0 ? std::array{&controller, &plain} : std::array{&plain, &controller}) {
            static_cast<void>(sinks.handle(cache->handle, {}));  // all keys are there
            const auto start = std::chrono::steady_clock::now();
            readers.begin(cache->lookUp);
            cache->records.values.push_back(sinks.handle(cache->handle, turn));
            const auto lookUps = static_cast<double>(readers.end());
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
            cache->lookUps.values.push_back(lookUps / time.count());
            cache->tidy();
        }
    }
    ResultRow records{"changed sinks handled beside four reading threads / all effects", "/s",
                      controller.records, plain.records};
    ResultRow lookUps{"  look-ups of these threads / plain map", "/s", controller.lookUps,
                      plain.lookUps};
    records.moreIsBetter = lookUps.moreIsBetter = true;
    return {records, lookUps};
}

}  // namespace

BenchCases threadCases() {
    return {{"readers", fourReaders}};
}

}  // namespace bench
