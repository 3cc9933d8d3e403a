// SPDX-License-Identifier: Apache-2.0
// Station files: nothing but ScenarioError leaves the reader, and a server serves what it accepts.
#include <map>
#include <sys/mman.h>
#include <unistd.h>

#include "framework/log.h"
#include "fuzz/Target.h"
#include "simserver/SimServer.h"
#include "simserver/station/StationFile.h"

namespace {

/// Counts the records of each kind.
struct CountingClient : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override {
        if (const auto* const record = std::get_if<palink::Record>(&event)) {
            ++records[record->kind];
        }
    }
    std::map<pa::RecordKind, std::size_t> records;
};

std::string asFile(const std::string& content) {
    static const int file = memfd_create("station.json", 0);
    fuzz::require(ftruncate(file, 0) == 0 && pwrite(file, content.data(), content.size(), 0) ==
                                                 static_cast<ssize_t>(content.size()),
                  "the file is written");
    return "/proc/self/fd/" + std::to_string(file);
}

}  // namespace

void fuzz::run(const std::string& input) {
    pa::setLogSink([](const pa::LogLine&) {});
    simserver::Station station;
    if (!returns<simserver::ScenarioError>(
            [&] { station = simserver::loadStation(asFile(input)); })) {
        return;
    }
    CountingClient client;
    simserver::SimServer server(station, {1.0, true, {}, {}, 1'795'269'785});
    server.connectClient(client);
    require(client.records[pa::RecordKind::Zone] == station.zones.size(), "a record for each zone");
    require(client.records[pa::RecordKind::Sink] == station.sinks.size(), "a record for each sink");
    require(client.records[pa::RecordKind::Source] == station.sources.size(), "for each source");
    server.advance(std::chrono::seconds(2));
    server.disconnectClient();
}
