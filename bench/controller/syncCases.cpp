// SPDX-License-Identifier: Apache-2.0
// What a new client costs: all records of a server through router and link, in one process.
#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "bench/controller/linkStation.h"
#include "bench/controller/ownProcess.h"
#include "bench/loadFixture.h"
#include "bench/processStatus.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "simserver/SimServer.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

using load::LoadFixture;

std::vector<ResultRow> syncRows(const RunSettings& settings, LoadFixture& fixture, int usual,
                                double wantedMS) {
    const int count = settings.size(usual, 20);
    std::vector<Record> records;
    std::vector<Record> plainRecords;
    PlainStation plain;
    bool isSynced = false;
    Contender link{[&] {
        fixture.fake.deliver(palink::Connected{dstNo, dstNo, false, {}});
        for (Record& record : records) {
            fixture.fake.deliver(std::move(record));
        }
        fixture.fake.deliver(palink::InitialSetComplete{});
        fixture.transport.waitUntilDelivered();
        isSynced = true;
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
        if (isSynced) {
            requireEverything(count);
        }
        fixture.fake.deliver(palink::Withdrawal{});
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
        forEachRecord(records, [&](Record record) { fixture.fake.deliver(std::move(record)); });
        fixture.transport.waitUntilDelivered();
        fixture.link.waitUntilHandled();
        std::printf("%ld\n", statusNumber("self", "VmHWM"));
        requireEverything(records);  // copies the caches
    } else {
        auto& plain = *new PlainStation;
        forEachRecord(records, [&](Record record) { plain.take(std::move(record)); });
        std::printf("%ld\n", statusNumber("self", "VmHWM"));
    }
}

BenchCases syncCases() {
    return {{"sync", sync}, {"server", syncWithServer}, {"memory", memory}};
}

}  // namespace bench
