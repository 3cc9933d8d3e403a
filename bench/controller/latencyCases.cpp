// SPDX-License-Identifier: Apache-2.0
// How long records of a connected server take through router and link, in one process.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "bench/controller/linkStation.h"
#include "bench/loadFixture.h"

namespace bench {

namespace {

using load::LoadFixture;

std::vector<ResultRow> pauseRows(const RunSettings& settings, LoadFixture& fixture, int usual,
                                 double wantedMS, int& version) {
    const int count = settings.size(usual);
    std::vector<Record> records;
    std::vector<Record> plainRecords;
    PlainStation plain;
    Contender link{[&] {
        fixture.observer.sources = 0;
        for (Record& record : records) {
            fixture.fake.deliver(std::move(record));
        }
        if (!load::waitFor([&] { return fixture.observer.sources == count; },
                           std::chrono::seconds(60))) {
            throw std::runtime_error("notifications are missing");
        }
    }};
    Contender reference{[&] {
        for (Record& record : plainRecords) {
            plain.take(std::move(record));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(PAController::notificationPauseMS));
    }};
    TurnPlan plan;
    plan.ofThisThread = false;
    plan.roundsPerTrial = 1;
    plan.prepare = [&] {
        records.clear();
        for (int key = 1; key <= count; ++key) {
            records.push_back(
                {dstNo, pa::RecordKind::Source, key, SourceKind::fields(key, version)});
        }
        plainRecords = records;
        version = 1 - version;
    };
    compareInTurns(settings, plan, {&link, &reference});
    return rowsInMS(
        std::to_string(usual) + " sources at once, with their pauses / one pause, all effects",
        link, reference, wantedMS);
}

std::vector<ResultRow> pauses(const RunSettings& settings) {
    RunSettings few = settings;
    few.trials = std::min(settings.trials, 3);
    LoadFixture& fixture = load::newFixture();
    int version = 0;  // of the next records
    const std::vector<ResultRow> rows = pauseRows(settings, fixture, 10'000, 200, version);
    return joined(rows, pauseRows(few, fixture, 100'000, 1500, version));
}

/// Hands records over to a thread that takes them into plain caches.
class PlainLink {
public:
    explicit PlainLink(std::function<void()> taken) {
        std::thread([this, taken = std::move(taken)] {
            while (true) {
                std::unique_lock guard(lock_);
                arrived_.wait(guard, [this] { return !waiting_.empty(); });
                Record record = std::move(waiting_.front());
                waiting_.pop_front();
                guard.unlock();
                station_.take(std::move(record));
                taken();
            }
        }).detach();
    }

    void deliver(Record record) {
        const std::lock_guard guard(lock_);
        waiting_.push_back(std::move(record));
        arrived_.notify_one();
    }

private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<Record> waiting_;  // guarded by lock_
    PlainStation station_;        // of the thread
};

std::vector<ResultRow> latency(const RunSettings& settings) {
    using Clock = std::chrono::steady_clock;
    LoadFixture& fixture = load::newFixture();
    std::atomic<Clock::rep> called{0};
    const auto note = [&] { called = Clock::now().time_since_epoch().count(); };
    fixture.observer.onSink = [&](const PaSink&) { note(); };
    auto& plain = *new PlainLink(note);  // its thread does not end

    /// The times in ns from the delivery of a changed sink until the observer is called.
    const auto timesOf = [&](int version, const std::function<void(Record)>& deliver) {
        std::vector<double> times;
        const int count = settings.size(1000);
        for (int key = 1; key <= count; ++key) {
            Record record{dstNo, pa::RecordKind::Sink, key, SinkKind::fields(key, version)};
            called = 0;
            const auto start = Clock::now();
            deliver(std::move(record));
            while (called == 0) {
                std::this_thread::yield();
            }
            times.push_back(static_cast<double>(called - start.time_since_epoch().count()));
            load::spin(std::chrono::microseconds(20));  // its thread waits for the next one
        }
        return times;
    };
    constexpr std::pair<const char*, double> shares[] = {{"median", 0.5},
                                                         {"99th percentile", 0.99}};
    std::vector<ResultRow> rows;
    for (const auto& share : shares) {
        rows.push_back({std::string("from a record until the observer is called, ") + share.first +
                            " / all effects",
                        "ns",
                        {},
                        {}});
    }
    for (int trial = 0; trial < settings.trials; ++trial) {
        const auto link =
            timesOf(trial % 2, [&](Record record) { fixture.fake.deliver(std::move(record)); });
        const auto reference =
            timesOf(trial % 2, [&](Record record) { plain.deliver(std::move(record)); });
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i].measured.values.push_back(quantile(link, shares[i].second));
            rows[i].reference.values.push_back(quantile(reference, shares[i].second));
        }
    }
    for (ResultRow& row : rows) {
        row.inUnit("us", 1000);
    }
    return rows;
}

}  // namespace

BenchCases latencyCases() {
    return {{"pauses", pauses}, {"latency", latency}};
}

}  // namespace bench
