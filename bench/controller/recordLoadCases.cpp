// SPDX-License-Identifier: Apache-2.0
// The link and the controller under load: a server with bursts of records, and slow observers.
#include <algorithm>
#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "bench/controller/loadRows.h"
#include "bench/loadFixture.h"
#include "bench/processStatus.h"

namespace bench {

namespace {

using namespace load;
using namespace std::chrono_literals;

/// The delay of a series of notifications: the k-th of each key is that of its k-th record.
class Lateness {
public:
    /// @param pauseOfKind between the merge of a record and its notification
    explicit Lateness(Clock::duration pauseOfKind) : pause_(pauseOfKind) {}

    void delivered(int key) {
        const std::lock_guard guard(lock_);
        due_[key].push_back(Clock::now() + pause_);
        ++missing_;
    }

    void notified(int key) {
        const std::lock_guard guard(lock_);
        worst_ = std::max(worst_, Clock::now() - due_[key].at(0));
        due_[key].pop_front();
        --missing_;
    }

    bool isComplete() const {
        const std::lock_guard guard(lock_);
        return missing_ == 0;
    }

    double worstMS() const {
        const std::lock_guard guard(lock_);
        return inMS(worst_);
    }

private:
    const Clock::duration pause_;
    mutable std::mutex lock_;
    // Guarded by lock_.
    std::map<int, std::deque<Clock::time_point>> due_;
    std::size_t missing_ = 0;
    Clock::duration worst_{0};
};

Rows fader(const RunSettings& settings) {
    constexpr int others = 100;
    constexpr int faderId = others + 1;
    constexpr auto pause = 100ms;
    static Lateness ofFader(pause);
    static Lateness ofOthers(pause);
    static Lateness ofSink(0ms);
    LoadFixture& fixture = newFixture();
    fixture.observer.onSource = [](const PaSource& source) {
        (source.id == faderId ? ofFader : ofOthers).notified(source.id);
    };
    fixture.observer.onSink = [](const PaSink& sink) { ofSink.notified(sink.id); };

    const auto start = Clock::now();
    for (int ms = 0; ms < settings.size(5000, 200); ++ms) {
        std::this_thread::sleep_until(start + ms * 1ms);
        const std::string label = std::to_string(ms);
        ofFader.delivered(faderId);
        fixture.fake.deliver(RecordKind::Source, faderId, sourceFields(faderId, label));
        const int other = ms % others + 1;
        ofOthers.delivered(other);
        fixture.fake.deliver(RecordKind::Source, other, sourceFields(other, label));
        if (ms % 100 == 0) {
            ofSink.delivered(1);
            fixture.fake.deliver(RecordKind::Sink, 1, sinkFields(1, 1 + ms / 100 % 2));
        }
    }
    Rows rows;
    for (const auto& [what, lateness] :
         {std::pair("1,000 records/s of one source for 5 s: worst lateness", &ofFader),
          std::pair("  100 other sources meanwhile, 10 records/s each", &ofOthers),
          std::pair("  a sink meanwhile", &ofSink)}) {
        if (!waitFor([lateness = lateness] { return lateness->isComplete(); }, 10s)) {
            throw std::runtime_error("notifications are missing");
        }
        rows.push_back(rowOnce(what, "ms", lateness->worstMS(), 150));
    }
    return rows;
}

void deliverOneSource(LoadFixture& fixture, int records) {
    for (int i = 0; i < records; ++i) {
        fixture.fake.deliver(RecordKind::Source, 1, sourceFields(1, std::to_string(i)));
    }
}

/// Each in its turn behind the pauses of what is before it.
Rows behindSources(const RunSettings& settings) {
    LoadFixture& fixture = newFixture();
    const auto deliverSink = [&](int state) {
        fixture.fake.deliver(RecordKind::Sink, 1, sinkFields(1, state));
    };
    Rows rows;
    rows.push_back(rowUntil(
        "two records each of 100 sources, notified",
        [&] {
            for (int id = 1; id <= 100; ++id) {
                fixture.fake.deliver(RecordKind::Source, id, sourceFields(id, "first"));
                fixture.fake.deliver(RecordKind::Source, id, sourceFields(id, "second"));
            }
        },
        [&] { return fixture.observer.sources == 200; }, 250));
    rows.push_back(rowUntil(
        "a sink after 5,000 records of one source, notified",
        [&] {
            deliverOneSource(fixture, settings.size(5000));
            deliverSink(1);
        },
        [&] { return fixture.observer.sinks == 1; }, 250));
    deliverOneSource(fixture, 100);
    rows.push_back(rowUntil(
        "a reconnection after 100 records of one source",
        [&] {
            fixture.fake.connect();
            deliverSink(2);
        },
        [&] { return fixture.observer.sinks == 2; }, 250));
    deliverOneSource(fixture, 100);
    fixture.transport.waitUntilDelivered();
    rows.push_back(rowOnce("a stop after 100 records of one source", "ms",
                           inMS(timeOf([&] { fixture.link.stop(); })), 250));
    return rows;
}

Rows slowObserver(const RunSettings& settings) {
    LoadFixture& fixture = newFixture();
    fixture.observer.onSink = [](const PaSink&) { spin(20us); };
    const int records = settings.size(100'000);
    const ResultRow time = rowUntil(
        "100,000 sinks, an observer that takes 20 us for each",
        [&] {
            for (int i = 0; i < records; ++i) {
                const int id = i % 1000 + 1;
                fixture.fake.deliver(RecordKind::Sink, id, sinkFields(id, 1 + i / 1000 % 2));
            }
        },
        [&] { return fixture.observer.sinks == records; }, 0);
    constexpr double kiBPerMiB = 1024;
    return {time, rowOnce("  peak memory of the process", "MiB",
                          static_cast<double>(statusNumber("self", "VmHWM")) / kiBPerMiB, 128)};
}

}  // namespace

BenchCases recordLoadCases() {
    return {{"fader", fader}, {"behind-sources", behindSources}, {"slow-observer", slowObserver}};
}

}  // namespace bench
