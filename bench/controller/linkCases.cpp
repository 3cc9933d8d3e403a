// What the records of a server cost through router and link, in one process.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/controller/ownProcess.h"
#include "bench/controller/references.h"
#include "bench/loadFixture.h"
#include "bench/processStatus.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "simserver/SimServer.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

using load::LoadFixture;
using palink::Record;

/// The kinds of a station, with their share.
template <class Kind, int per20>
struct Share {
    using kind = Kind;
    static constexpr int count(int records) { return records / 20 * per20; }
};
using Shares = std::tuple<Share<SourceKind, 2>, Share<AttachedZonesKind, 2>, Share<ScheduleKind, 1>,
                          Share<SinkKind, 8>, Share<ZoneKind, 4>, Share<TriggerKind, 2>,
                          Share<SelectorKind, 1>>;

/// Calls `call(share)` for each share.
template <class Call>
void forEachShare(Call call) {
    std::apply([&](auto... share) { (call(share), ...); }, Shares());
}

constexpr int dstNo = 1;

/// Calls `take(record)` for each record of a station.
template <class Take>
void forEachRecord(int count, Take take) {
    forEachShare([&](auto share) {
        using Kind = typename decltype(share)::kind;
        for (int key = 1; key <= share.count(count); ++key) {
            take(Record{dstNo, Kind::kind, key, Kind::fields(key, 0)});
        }
    });
}

std::vector<Record> stationRecords(int count) {
    std::vector<Record> records;
    forEachRecord(count, [&](Record record) { records.push_back(std::move(record)); });
    return records;
}

/// A plain cache for each kind, with all effects of a record.
class PlainStation {
public:
    void take(Record record) {
        pa::RecordList list(std::move(record.fields));
        std::apply([&](auto&... floor) { (takeIfOf(floor, record, *list.list()), ...); }, floors_);
    }
    void clear() {
        std::apply([](auto&... floor) { (floor.clear(), ...); }, floors_);
    }

private:
    template <class Kind>
    static void takeIfOf(ContractFloor<Kind>& floor, const Record& record, const TEVlist& list) {
        if (Kind::kind == record.kind) {
            floor.take(record.key, list);
            floor.clearEvents();
        }
    }

    std::tuple<ContractFloor<SourceKind>, ContractFloor<AttachedZonesKind>,
               ContractFloor<ScheduleKind>, ContractFloor<SinkKind>, ContractFloor<ZoneKind>,
               ContractFloor<TriggerKind>, ContractFloor<SelectorKind>>
        floors_;
};

void requireEverything(int count) {
    const PAController& controller = gPaController;
    const std::size_t cached =
        controller.getPaSources().size() + controller.listSchedules().size() +
        controller.getPaSinks().size() + controller.getPaZones().size() +
        controller.getHwPaTriggers().size() + controller.getPaSelectors().size();
    int expected = -Share<AttachedZonesKind, 2>::count(count);  // no getter counts them
    forEachShare([&](auto share) { expected += share.count(count); });
    if (cached != static_cast<std::size_t>(expected)) {
        throw std::runtime_error("records are missing in the caches");
    }
}

void requireReady(palink::ServerLink& link) {
    if (!link.waitUntilReady(std::chrono::seconds(60))) {
        throw std::runtime_error("not synced");
    }
}

constexpr double nsPerMS = 1e6;

/// The time in ms, and the processor time beside it.
std::vector<ResultRow> rowsInMS(const std::string& what, const Contender& measured,
                                const Contender& reference, double wantedMS) {
    ResultRow time = rowOf(what, measured, reference);
    ResultRow processor{"  processor time of the process", "", measured.processor,
                        reference.processor};
    time.wantedMost = wantedMS;
    time.inUnit("ms", nsPerMS);
    processor.inUnit("ms", nsPerMS);
    return {time, processor};
}

std::vector<ResultRow> joined(std::vector<ResultRow> rows, const std::vector<ResultRow>& more) {
    rows.insert(rows.end(), more.begin(), more.end());
    return rows;
}

std::vector<ResultRow> syncRows(const RunSettings& settings, LoadFixture& fixture, int usual,
                                double wantedMS) {
    const int count = settings.size(usual, 20);
    std::vector<Record> records;
    std::vector<Record> plainRecords;
    PlainStation plain;
    Contender link{[&] {
        fixture.fake.deliver(palink::Connected{dstNo, dstNo, false, {}});
        for (Record& record : records) {
            fixture.fake.deliver(std::move(record));
        }
        fixture.fake.deliver(palink::InitialSetComplete{});
        requireReady(fixture.link);
    }};
    Contender reference{[&] {
        for (Record& record : plainRecords) {
            plain.take(std::move(record));
        }
    }};
    TurnPlan plan;
    plan.ofThisThread = false;
    plan.roundsPerTrial = 1;
    plan.prepare = [&] {
        fixture.fake.deliver(palink::Withdrawal{});
        fixture.transport.waitUntilDelivered();
        fixture.fake.deliver(palink::Disconnected{"the next trial"});
        fixture.transport.waitUntilDelivered();
        EventItem event;
        while (pa::eventQueue::next(event)) {
        }
        plain.clear();
        records = stationRecords(count);
        plainRecords = records;
    };
    compareInTurns(settings, plan, {&link, &reference});
    requireEverything(count);
    return rowsInMS(
        "sync of " + std::to_string(usual) + " records in the process, no pauses / all effects",
        link, reference, wantedMS);
}

std::vector<ResultRow> sync(const RunSettings& settings) {
    skipPauses();
    LoadFixture& fixture = load::newFixture();
    return joined(syncRows(settings, fixture, 10'000, 30), syncRows(settings, fixture, 100'000, 0));
}

/// With the work of a server that makes its records.
std::vector<ResultRow> syncWithServer(const RunSettings& settings) {
    skipPauses();
    pa::setLogSink([](const pa::LogLine&) {});
    gDeviceIPAddress = "10.20.1.5";
    const int count = settings.size(10'000, 20);
    auto& server = *new simserver::SimServer(stationOf(count));  // these are never destroyed
    auto& transport = *new palink::EmbeddedTransport(server);
    auto& audioServer = *new AudioServer(gPaController);
    auto& link = *new palink::ServerLink(audioServer, transport);
    gPaController.registerObserver(new load::CountingObserver);
    PlainStation plain;
    Contender controller{[&] {
        link.start();
        requireReady(link);
    }};
    Contender reference{[&] {
        for (Record& record : stationRecords(count)) {
            plain.take(std::move(record));
        }
    }};
    TurnPlan plan;
    plan.ofThisThread = false;
    plan.roundsPerTrial = 1;
    plan.prepare = [&] {
        link.stop();
        gPaController.initPaResources();
        plain.clear();
    };
    compareInTurns(settings, plan, {&controller, &reference});
    return rowsInMS("sync of 10000 with a simulated server, no pauses / all effects", controller,
                    reference, 30);
}

// ------------------------------------------------------------------------------- pauses, latency

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

// ------------------------------------------------------------------------------- memory

constexpr const char* ofLink = "link";
constexpr const char* ofReference = "reference";

std::vector<ResultRow> memory(const RunSettings& settings) {
    const int count = settings.size(100'000, 20);
    ResultRow row{
        "peak memory of a process with 100000 records of the link / plain caches", "MiB", {}, {}};
    row.wantedMost = 70;
    const auto peakOf = [count](const std::string& what) {
        constexpr double kiBPerMiB = 1024;
        return std::stod(
                   outputOfSelf("--peak-of " + what + " --records " + std::to_string(count))) /
               kiBPerMiB;
    };
    constexpr int most = 3;  // they differ little
    for (int trial = 0; trial < std::min(settings.trials, most); ++trial) {
        row.measured.values.push_back(peakOf(ofLink));
        row.reference.values.push_back(peakOf(ofReference));
    }
    return {row};
}

}  // namespace

void printPeak(const std::string& what, int records) {
    if (what == ofLink) {
        LoadFixture& fixture = load::newFixture();
        fixture.fake.deliver(palink::Connected{dstNo, dstNo, false, {}});
        forEachRecord(records, [&](Record record) { fixture.fake.deliver(std::move(record)); });
        fixture.fake.deliver(palink::InitialSetComplete{});
        requireReady(fixture.link);
        requireEverything(records);
    } else {
        auto& plain = *new PlainStation;
        forEachRecord(records, [&](Record record) { plain.take(std::move(record)); });
    }
    std::printf("%ld\n", statusNumber("self", "VmHWM"));
}

BenchCases linkCases() {
    return {{"sync", sync},
            {"server", syncWithServer},
            {"pauses", pauses},
            {"latency", latency},
            {"memory", memory}};
}

}  // namespace bench
