// The link and the controller under load: a server with bursts of records, slow observers, an
// application with many requests; and the time to read a large station file. The pauses are real.
// Each is measured once, and has nothing to be compared with but what is wanted.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <unistd.h>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/loadFixture.h"
#include "bench/processStatus.h"
#include "framework/clock.h"
#include "sdk/globals.h"
#include "simserver/station/StationFile.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

using namespace load;
using namespace std::chrono_literals;

using Rows = std::vector<ResultRow>;

ResultRow rowOnce(const std::string& what, const char* unit, double value, double wantedMost = 0) {
    ResultRow row{what, unit, {{value}}, {}};
    row.wantedMost = wantedMost;
    return row;
}

double inMS(Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

/// How long it takes until something that was begun has had its effect.
/// @throws std::runtime_error when that takes longer than the limit
template <class Call, class Condition>
ResultRow rowUntil(const std::string& what, Call call, Condition holds, double wantedMS,
                   Clock::duration limit = 60s) {
    const auto start = Clock::now();
    call();
    if (!waitFor(holds, limit)) {
        throw std::runtime_error("no effect: " + what);
    }
    return rowOnce(what, "ms", inMS(Clock::now() - start), wantedMS);
}

// ------------------------------------------------------------------------------- sources and sinks

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

// -------------------------------------------------------------------------------------- operations

/// All operations arrive of those that `ask` asks for.
template <class Ask>
ResultRow burst(LoadFixture& fixture, const std::string& what, int operations, Ask ask) {
    fixture.fake.operations = 0;
    return rowUntil(
        what + ", all arrived at a server that takes 20 us for each",
        [&] {
            for (int i = 1; i <= operations; ++i) {
                ask(i);
            }
        },
        [&] { return fixture.fake.operations == operations; }, 0);
}

Rows bursts(const RunSettings& settings) {
    LoadFixture& fixture = newFixture();
    return {burst(fixture, "3,000 schedules put", settings.size(3000),
                  [](int id) { gPaController.createSchedule(scheduleDefinition(id)); }),
            burst(fixture, "100,000 messages played", settings.size(100'000), [](int) {
                Message message;
                message.setAudioMessage({12, 40});
                message.playAnnouncement({"Platform 1"});
            })};
}

void fillSchedules(int count) {
    for (int key = 1; key <= count; ++key) {
        pa::RecordList record(ScheduleKind::fields(key, 0));
        gPaController.updateScheduleList(key, record.list());
    }
}

Rows waitingCallers(const RunSettings& settings) {
    constexpr int callers = 50;
    const std::chrono::milliseconds watched(settings.size(2000, 50));
    newFixture();
    skipPauses();
    fillSchedules(settings.size(2000));
    pa::setTimeSource({});
    pa::store(gMaxServerWaitTimeSeconds, 60);
    for (int i = 0; i < callers; ++i) {
        std::thread([] {
            static_cast<void>(gPaController.createScheduleSync(scheduleDefinition(0)));
        }).detach();
    }
    std::this_thread::sleep_for(watched / 4);
    const std::int64_t before = processorNS();
    std::this_thread::sleep_for(watched);
    const double used = static_cast<double>(processorNS() - before);
    const double share = 100 * used / std::chrono::duration<double, std::nano>(watched).count();
    return {rowOnce("50 callers of createScheduleSync wait, 2,000 schedules: processor", "%", share,
                    2)};
}

Rows withdrawalOfAll(const RunSettings& settings) {
    skipPauses();
    fillSchedules(settings.size(20'000));
    return {rowOnce("withdrawal of all of 20,000 schedules", "ms",
                    inMS(timeOf([] { ScheduleKind::withdraw(gPaController, 0); })), 250)};
}

// ---------------------------------------------------------------------------------- station files

/// The processor time in ms that it takes to read a station with so many sinks and zones.
double msToRead(int count) {
    const auto file = std::filesystem::temp_directory_path() /
                      ("controller_bench-" + std::to_string(getpid()) + ".json");
    {
        std::ofstream out(file);
        out << R"({"name": "Large", "sources": [], "voices": [], "dictionary": [], "zones": [)";
        for (int i = 1; i <= count; ++i) {
            out << (i == 1 ? "" : ",") << R"({"id": "Zone )" << i << R"("})";
        }
        out << R"(], "sinks": [)";
        for (int i = 1; i <= count; ++i) {
            out << (i == 1 ? "" : ",") << R"({"id": )" << i
                << R"(, "location": "Platform 1, north end", "label": "Canopy speakers",)"
                << R"( "ipAddress": "10.20.1.11", "type": 1, "zones": ["Zone )" << i << R"("]})";
        }
        out << "]}";
    }
    const std::int64_t before = processorNS();
    const simserver::Station station = simserver::loadStation(file);
    const std::int64_t after = processorNS();
    std::filesystem::remove(file);
    constexpr double nsPerMS = 1e6;
    return static_cast<double>(after - before) / nsPerMS;
}

Rows stationFile(const RunSettings& settings) {
    constexpr int times = 10;
    const int small = settings.size(10'000);
    ResultRow row{"station of 100,000 sinks and zones read / 10 times one of 10,000",
                  "ms",
                  {{msToRead(times * small)}},
                  {{times * msToRead(small)}}};
    row.wantedMost = 2000;
    row.wantedRatio = 1.5;
    return {row};
}

}  // namespace

BenchCases loadCases() {
    return {{"fader", fader},
            {"behind-sources", behindSources},
            {"slow-observer", slowObserver},
            {"bursts", bursts},
            {"waiting-callers", waitingCallers},
            {"withdrawal-of-all", withdrawalOfAll},
            {"station-file", stationFile}};
}

}  // namespace bench
