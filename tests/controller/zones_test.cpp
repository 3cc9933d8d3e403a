#include <gtest/gtest.h>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

using Texts = std::vector<std::string>;

RecordBuilder fullRecord() {
    return RecordBuilder(8)
        .with(0, "\"Platform \\\"1\\\"\"")
        .with(1, "skipped")
        .with(2, "1")
        .with(3, "\"Active\"")
        .with(4, "2")
        .with(5, "\"Dictionary\"")
        .with(6, "3")
        .with(7, "\"Fair\"");
}

struct ZonesTest : testing::Test {
    ZonesTest() {
        recordingHost::reset();
        controller.registerObserver(&observer);
    }

    std::string handle(int dstNo, int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdatePaZone(dstNo, key, record.list());
        return recordingHost::transcript();
    }

    void attach(int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdateAttachedPaZone(key, record.list());
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(ZonesTest, DecodesEveryColumn) {
    handle(1, 5, fullRecord());
    const PaZone zone = controller.getPaZones().at(0);
    EXPECT_EQ(zone.elemNo, 0U);
    EXPECT_EQ(zone.id, "Platform \"1\"");
    EXPECT_EQ(zone.activity, 1);
    EXPECT_EQ(zone.activityText, "\"Active\"");
    EXPECT_EQ(zone.announcementType, 2);
    EXPECT_EQ(zone.announcementTypeText, "\"Dictionary\"");
    EXPECT_EQ(zone.health, 3);
    EXPECT_EQ(zone.healthText, "\"Fair\"");
}

TEST_F(ZonesTest, TellsOfEachChangeButNotOfHealth) {
    debugLevel = 1;
    EXPECT_EQ(handle(1, 5, fullRecord()),
              "*log 1 addUpdatePaZone: PaZone added to local cache: key >5< PaZone Label "
              ">Platform \"1\"<\n*o: zone Platform \"1\" \"Active\"\n*event 40 5\n");
    EXPECT_EQ(handle(1, 5, fullRecord().with(6, "1").with(7, "Good")), "");
    EXPECT_EQ(handle(1, 5, fullRecord().with(0, "P1").with(6, "1")),
              "*log 1 addUpdatePaZone: updated key >5< PaZone Label >P1<\n"
              "*o: zone P1 \"Active\"\n*event 40 5\n");
    EXPECT_EQ(controller.getPaZones().at(0).health, 3);
    debugLevel = 0;
    const std::vector<std::pair<std::size_t, const char*>> changes = {
        {0, "x"}, {2, "0"}, {3, "x"}, {4, "9"}, {5, "x"}};
    for (const auto& [column, text] : changes) {
        handle(1, 100, fullRecord());
        EXPECT_NE(handle(1, 100, fullRecord().with(column, text)), "") << column;
        EXPECT_EQ(handle(1, 100, fullRecord().with(column, text)), "") << column;
    }
}

TEST_F(ZonesTest, IgnoresRecordsWithoutServerKeyOrList) {
    debugLevel = 1;
    EXPECT_EQ(handle(0, 5, fullRecord()), "");
    EXPECT_EQ(handle(1, 0, fullRecord()), "");
    controller.addUpdatePaZone(1, 5, nullptr);
    EXPECT_EQ(recordingHost::transcript(), "");
    EXPECT_TRUE(controller.getPaZones().empty());
}

TEST_F(ZonesTest, WithoutAnObserverNothingIsPosted) {
    PAController lonely;
    RecordList record(fullRecord());
    lonely.addUpdatePaZone(1, 5, record.list());
    EXPECT_EQ(recordingHost::transcript(), "");
}

/// Which cache a zone goes to, whether it is told, and what is then in force.
TEST_F(ZonesTest, ChoosesItsCacheAsTheTable) {
    struct Case {
        bool indirect;
        int active;
        int dstNo;  // the local server is 1
        bool told;
        bool inForce;
    };
    const std::vector<Case> cases = {
        {false, 1, 1, true, true},   // direct, the active server's own
        {false, 2, 1, false, true},  // the primary cache, but not from the active server
        {false, 0, 1, true, false},  // told, but without a server nothing is in force
        {false, 0, 3, false, false}, {true, 2, 2, true, true},  // indirect, the active server
        {true, 2, 1, false, false},  // the local server's cache is not in force
        {true, 0, 1, true, true},    // the local server stands in
        {true, 0, 3, false, false},  {true, -1, 1, false, true},
    };
    for (const Case& c : cases) {
        PAController fresh;
        fresh.registerObserver(&observer);
        gIndirectCXSConnection = c.indirect;
        gActiveAudioServerDstNo = c.active;
        RecordList record(fullRecord());
        fresh.addUpdatePaZone(c.dstNo, 5, record.list());
        const std::string where = std::to_string(c.indirect) + " " + std::to_string(c.active) +
                                  " " + std::to_string(c.dstNo);
        EXPECT_EQ(recordingHost::transcript() != "", c.told) << where;
        EXPECT_EQ(fresh.getPaZones().size(), c.inForce ? 1U : 0U) << where;
    }
}

TEST_F(ZonesTest, KeepsTheAttachedZonesOfASource) {
    attach(3, {"\"Z2^\\\"Z^1\\\"^Z2\"", "ignored"});
    Texts zones = {"kept"};
    controller.getAttachedPaZoneList(3, &zones);
    EXPECT_EQ(zones, (Texts{"kept", "Z2", "Z^1"}));
    controller.getAttachedPaZoneList(4, &zones);
    EXPECT_EQ(zones.size(), 3U);

    attach(3, {"(null)"});
    Texts none;
    controller.getAttachedPaZoneList(3, &none);
    EXPECT_TRUE(none.empty());
    controller.addUpdateAttachedPaZone(3, nullptr);
    EXPECT_EQ(recordingHost::transcript(),
              "error 3 addUpdateAttachedPaZone: no record for key >3<\n");
}

TEST_F(ZonesTest, FindsItsMembers) {
    gPaController.initPaResources();
    const Texts lists = {"hall/North", "Hallway", "HALL^Hall/East", "Hal", "Other^Hall^Hall", ""};
    int key = 0;
    for (const std::string& list : lists) {
        RecordList record(RecordBuilder(32).with(0, std::to_string(++key)).with(26, list));
        gPaController.addUpdatePaSink(key, record.list());
    }
    PaZone zone;
    zone.id = "Hall";
    std::vector<int> ids;
    for (const PaSink& sink : zone.getMembers()) {
        ids.push_back(sink.id);
    }
    EXPECT_EQ(ids, (std::vector<int>{1, 3, 3, 5, 5}));
    gAudioServerInstance = nullptr;
    EXPECT_TRUE(zone.getMembers().empty());
    gPaController.initPaResources();
}

}  // namespace
