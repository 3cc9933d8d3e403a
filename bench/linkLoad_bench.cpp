// The link and the controller under load: a server with bursts of records, slow observers, an
// application with many requests; and the time to read a large station file. The pauses are real,
// except where a case measures a single call. Absolute figures, each next to its target.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "bench/loadCases.h"
#include "bench/loadFixture.h"
#include "sdk/globals.h"
#include "simserver/station/StationFile.h"
#include "tests/support/noPauses.h"

namespace {

using namespace load;
using namespace std::chrono_literals;

// ------------------------------------------------------------------------------- sources and sinks

template <int count>
std::vector<Measurement> sourcesAtOnce() {
    LoadFixture& fixture = newFixture();
    const auto deliver = [&] {
        for (int id = 1; id <= count; ++id) {
            fixture.fake.deliver(RecordKind::Source, id, sourceFields(id, "Desk"));
        }
    };
    const auto areNotified = [&] { return fixture.observer.sources == count; };
    const std::string time = timeUntil(deliver, areNotified, 90s);
    const bool areCached = gPaController.getPaSources().size() == std::size_t{count};
    const char* const wanted = count == 100'000 ? "< 1.5 s" : "";
    return {{std::to_string(count) + " sources at once, cached and notified",
             areCached ? time : time + ", not all cached", wanted}};
}

/// The delay of a series of notifications: the k-th of each key is that of its k-th record.
class Lateness {
public:
    /// @param pauseOfKind between the merge of a record and its notification
    explicit Lateness(Clock::duration pauseOfKind) : pause_(pauseOfKind) {}

    void delivered(int key) {
        const std::lock_guard guard(lock_);
        due_[key].push_back(Clock::now() + pause_);
    }

    void notified(int key) {
        const std::lock_guard guard(lock_);
        worst_ = std::max(worst_, Clock::now() - due_[key].at(0));
        due_[key].pop_front();
    }

    std::size_t untold() const {
        const std::lock_guard guard(lock_);
        std::size_t count = 0;
        for (const auto& entry : due_) {
            count += entry.second.size();
        }
        return count;
    }

    std::string worst() const {
        const std::lock_guard guard(lock_);
        auto worst = worst_;
        bool isOpen = false;
        for (const auto& entry : due_) {
            if (!entry.second.empty()) {
                worst = std::max(worst, Clock::now() - entry.second.front());
                isOpen = true;
            }
        }
        return (isOpen ? "> " : "") + milliseconds(worst);
    }

private:
    const Clock::duration pause_;
    mutable std::mutex lock_;
    // Guarded by lock_.
    std::map<int, std::deque<Clock::time_point>> due_;
    Clock::duration worst_{0};
};

std::vector<Measurement> fader() {
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
    for (int ms = 0; ms < 5000; ++ms) {
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
    waitFor([] { return ofFader.untold() + ofOthers.untold() + ofSink.untold() == 0; }, 10s);
    const char* const wanted = "<= 150 ms";
    return {{"1,000 records/s of one source for 5 s: worst lateness", ofFader.worst(), wanted},
            {"  100 other sources meanwhile, 10 records/s each", ofOthers.worst(), wanted},
            {"  a sink meanwhile", ofSink.worst(), wanted}};
}

std::vector<Measurement> pairs() {
    constexpr int sources = 100;
    LoadFixture& fixture = newFixture();
    const auto deliver = [&] {
        for (int id = 1; id <= sources; ++id) {
            fixture.fake.deliver(RecordKind::Source, id, sourceFields(id, "first"));
            fixture.fake.deliver(RecordKind::Source, id, sourceFields(id, "second"));
        }
    };
    const auto areNotified = [&] { return fixture.observer.sources == 2 * sources; };
    return {{"two records each of 100 sources, notified", timeUntil(deliver, areNotified, 60s),
             "< 0.25 s"}};
}

void deliverOneSource(LoadFixture& fixture, int records) {
    for (int i = 0; i < records; ++i) {
        fixture.fake.deliver(RecordKind::Source, 1, sourceFields(1, std::to_string(i)));
    }
}

std::vector<Measurement> sinkBehindSources() {
    LoadFixture& fixture = newFixture();
    const auto deliver = [&] {
        deliverOneSource(fixture, 5000);
        fixture.fake.deliver(RecordKind::Sink, 1, sinkFields(1, 1));
    };
    const auto isNotified = [&] { return fixture.observer.sinks == 1; };
    return {{"a sink after 5,000 records of one source, notified",
             timeUntil(deliver, isNotified, 15s), "< 0.25 s"}};
}

std::vector<Measurement> stopBehindSources() {
    LoadFixture& fixture = newFixture();
    deliverOneSource(fixture, 100);
    fixture.transport.waitUntilDelivered();
    const auto time = timeOf([&] { fixture.link.stop(); });
    return {{"stop() after 100 records of one source", seconds(time), "< 0.25 s"}};
}

std::vector<Measurement> reconnectionBehindSources() {
    LoadFixture& fixture = newFixture();
    deliverOneSource(fixture, 100);
    const auto deliver = [&] {
        fixture.fake.connect();
        fixture.fake.deliver(RecordKind::Sink, 1, sinkFields(1, 1));
    };
    const auto isNotified = [&] { return fixture.observer.sinks == 1; };
    return {{"a reconnection after 100 records of one source", timeUntil(deliver, isNotified, 60s),
             "< 0.25 s"}};
}

template <int records>
std::vector<Measurement> slowObserver() {
    LoadFixture& fixture = newFixture();
    fixture.observer.onSink = [](const PaSink&) { spin(20us); };
    const auto deliver = [&] {
        for (int i = 0; i < records; ++i) {
            const int id = i % 1000 + 1;
            fixture.fake.deliver(RecordKind::Sink, id, sinkFields(id, 1 + i / 1000 % 2));
        }
    };
    const auto areNotified = [&] { return fixture.observer.sinks == records; };
    return {{std::to_string(records) + " sinks, an observer that takes 20 us for each",
             timeUntil(deliver, areNotified, 120s), "peak is bounded"}};
}

// -------------------------------------------------------------------------------------- operations

/// How many operations arrive of those that `ask` asks for.
template <class Ask>
std::vector<Measurement> burst(const std::string& name, int operations, Ask ask) {
    LoadFixture& fixture = newFixture();
    const auto asking = timeOf([&] {
        for (int i = 1; i <= operations; ++i) {
            ask(i);
        }
    });
    int arrived = -1;
    while (arrived != fixture.fake.operations) {  // until nothing more comes
        arrived = fixture.fake.operations;
        waitFor([&] { return fixture.fake.operations == operations; }, 1s);
    }
    return {{std::to_string(operations) + ' ' + name + " in " + seconds(asking) + ", arrived",
             std::to_string(arrived), std::to_string(operations)}};
}

std::vector<Measurement> burstOfSchedules() {
    return burst("createSchedule", 3000,
                 [](int id) { gPaController.createSchedule(scheduleDefinition(id)); });
}

std::vector<Measurement> burstOfAnnouncements() {
    return burst("playMessage", 100'000, [](int) {
        Message message;
        message.setAudioMessage(std::vector<unsigned>{12, 40});
        static_cast<void>(gPaController.playMessage({"Platform 1"}, message));
    });
}

// ------------------------------------------------------------------------- single calls, no pauses

template <class Fields>
void fill(void (PAController::*handler)(int, TEVlist*), int count, Fields fields) {
    for (int key = 1; key <= count; ++key) {
        RecordList record(fields(key));
        (gPaController.*handler)(key, record.list());
    }
}

std::vector<Measurement> manySources() {
    skipPauses();
    constexpr int count = 100'000;
    constexpr int calls = 100;
    const auto fields = [](int id) { return sourceFields(id, "Desk"); };
    fill(&PAController::addUpdatePaSource, count, fields);
    const auto records = timeOf([&] {
        for (int key = count - calls + 1; key <= count; ++key) {
            RecordList record(fields(key));
            gPaController.addUpdatePaSource(key, record.list());
        }
    });
    const auto withdrawals = timeOf([] {
        for (int key = count - calls + 1; key <= count; ++key) {
            gPaController.deleteAudioVideoControllerInfo(0, static_cast<int>(RecordKind::Source),
                                                         key);
        }
    });
    const bool areCached = gPaController.getPaSources().size() == count - calls;
    return {{"one source record that changes nothing, 100,000 cached",
             areCached ? microseconds(records / calls) : "not all cached", "< 20 us"},
            {"one withdrawal by key, 100,000 sources cached", microseconds(withdrawals / calls),
             "< 20 us"}};
}

std::vector<Measurement> manySchedules() {
    skipPauses();
    constexpr int count = 20'000;
    fill(&PAController::updateScheduleList, count, [](int) { return scheduleFields(); });
    const bool areCached = gPaController.listSchedules().size() == count;
    const auto time = timeOf([] {
        gPaController.deleteAudioVideoControllerInfo(0, static_cast<int>(RecordKind::Schedule), 0);
    });
    return {{"withdrawal of all of 20,000 schedules", areCached ? seconds(time) : "not all cached",
             "< 0.25 s"}};
}

std::vector<Measurement> waitingCallers() {
    constexpr int callers = 50;
    constexpr auto watched = 2s;
    newFixture();
    skipPauses();
    fill(&PAController::updateScheduleList, 2000, [](int) { return scheduleFields(); });
    setTimeSource({});
    pa::store(gMaxServerWaitTimeSeconds, 60);
    for (int i = 0; i < callers; ++i) {
        std::thread([] {
            static_cast<void>(gPaController.createScheduleSync(scheduleDefinition(0)));
        }).detach();
    }
    std::this_thread::sleep_for(500ms);
    const std::clock_t before = std::clock();
    std::this_thread::sleep_for(watched);
    const double used = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    const double share = used / std::chrono::duration<double>(watched).count();
    return {{"50 callers of createScheduleSync, 2,000 schedules: CPU", text(100 * share, "%"),
             "< 2 % of a core"}};
}

// ---------------------------------------------------------------------------------- station files

/// The processor time that it takes to read a station with so many sinks and zones.
double secondsToRead(int count) {
    const auto file = std::filesystem::temp_directory_path() /
                      ("link_load_bench-" + std::to_string(getpid()) + ".json");
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
    const std::clock_t before = std::clock();
    const simserver::Station station = simserver::loadStation(file);
    const std::clock_t after = std::clock();
    std::filesystem::remove(file);
    return static_cast<double>(after - before) / CLOCKS_PER_SEC;
}

std::vector<Measurement> stationFile() {
    const double small = secondsToRead(10'000);
    const double large = secondsToRead(100'000);
    return {{"station of 100,000 sinks and zones: CPU to read it", text(large, "s"), "< 2 s"},
            {"  as a multiple of one of 10,000", text(large / small, "x"), "about 10 x"}};
}

const std::vector<LoadCase> cases = {
    {"sources_1000", sourcesAtOnce<1000>},
    {"sources_10000", sourcesAtOnce<10'000>},
    {"sources_100000", sourcesAtOnce<100'000>},
    {"fader", fader},
    {"pairs", pairs},
    {"sink_behind_sources", sinkBehindSources},
    {"stop_behind_sources", stopBehindSources},
    {"reconnection_behind_sources", reconnectionBehindSources},
    {"slow_observer_50000", slowObserver<50'000>},
    {"slow_observer_200000", slowObserver<200'000>},
    {"burst_of_schedules", burstOfSchedules},
    {"burst_of_announcements", burstOfAnnouncements},
    {"many_sources", manySources},
    {"many_schedules", manySchedules},
    {"waiting_callers", waitingCallers},
    {"station_file", stationFile},
};

}  // namespace

int main(int argc, char** argv) {
    return runLoadCases(argc, argv, cases);
}
