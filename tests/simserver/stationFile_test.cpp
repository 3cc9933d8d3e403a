// SPDX-License-Identifier: Apache-2.0
#include "simserver/station/StationFile.h"

#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;

/// The fields as place=text, without absent ones.
std::string textOf(const pa::RecordFields& fields) {
    std::string text;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        text += fields[i] ? " " + std::to_string(i) + "=" + fields.text(i) : "";
    }
    return text;
}

TEST(StationFile, HoldsWhatTheRecordsReport) {
    constexpr std::time_t epoch = 1'795'269'785;  // 2026-11-21 14:03:05 UTC
    Station station = loadStation(scenarioFile("everyMember"));
    const std::filesystem::path folder = std::filesystem::path(scenarioFile("")).parent_path();
    EXPECT_EQ(std::exchange(station.microphone.file, ""), (folder / "m.wav").string());
    TestClient client;
    SimServer server(station, {1.0, true, {}, {}, epoch});
    server.connectClient(client);
    server.advance(std::chrono::milliseconds(61'999));
    for (const char* const step : {"92/1 1,client-7", "78/5 /home/quillon/tmp/r",
                                   R"(92/17 "a \"b\"",1,50,"2,ip,\"A/x\",1!1,,0^0^0")"}) {
        server.handleOperation(ServerTest::operationIn(step));
    }
    std::string records;
    for (const auto& [place, fields] : client.last) {
        records += TestClient::rowOf(place.first).name;
        records += " " + std::to_string(place.second) + ":" + textOf(fields) + "\n";
    }
    EXPECT_EQ(records, tableOfTest());
}

TEST(StationFile, NamesThePlaceOfAFault) {
    const TestFolder folder;
    const std::string good = contentOf(scenarioFile("everyMember"));
    // What is replaced in a good file and by what; what is wrong then.
    const auto loadChanged = [&](const std::string& change) {
        try {
            return loadStation(folder.write("s.json", changed(good, change))).name;
        } catch (const ScenarioError& fault) {
            return std::string(fault.what()).substr(folder.path().string().size() + 1);
        }
    };
    expectTable(loadChanged);
}

TEST(Scenarios, AreValid) {
    for (const auto& scenario : std::filesystem::directory_iterator(PA_SCENARIO_DIR)) {
        EXPECT_NO_THROW(loadStation(scenario)) << scenario;
    }
}

}  // namespace
