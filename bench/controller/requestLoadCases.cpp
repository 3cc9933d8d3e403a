// SPDX-License-Identifier: Apache-2.0
// The link and the controller with an application that requests much; and what large inputs cost.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <unistd.h>

#include "bench/controller/kinds.h"
#include "bench/controller/loadRows.h"
#include "bench/processStatus.h"
#include "framework/clock.h"
#include "sdk/globals.h"
#include "simserver/station/StationFile.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

using namespace load;

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

BenchCases requestLoadCases() {
    return {{"bursts", bursts},
            {"waiting-callers", waitingCallers},
            {"withdrawal-of-all", withdrawalOfAll},
            {"station-file", stationFile}};
}

}  // namespace bench
