#include <gtest/gtest.h>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

using Texts = std::vector<std::string>;

const RecordFields full =
    fieldsOf(R"("Platform \"1\""|skipped|1|"Active"|2|"Dictionary"|3|"Fair")");

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

    Texts attachedTo(int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdateAttachedPaZone(key, record.list());
        Texts zones = {"kept"};
        controller.getAttachedPaZoneList(key, &zones);
        return zones;
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(ZonesTest, DecodesEveryColumn) {
    handle(1, 5, full);
    const PaZone zone = controller.getPaZones().at(0);
    EXPECT_EQ(zone.id, "Platform \"1\"");
    EXPECT_EQ(zone.activityText + zone.announcementTypeText + zone.healthText,
              "\"Active\"\"Dictionary\"\"Fair\"");
    EXPECT_EQ((std::vector<int>{static_cast<int>(zone.elemNo), zone.activity, zone.announcementType,
                                zone.health}),
              (std::vector<int>{0, 1, 2, 3}));
}

TEST_F(ZonesTest, TellsOfEachChangeButNotOfHealth) {
    debugLevel = 1;
    EXPECT_EQ(handle(1, 5, full),
              "*log 1 addUpdatePaZone: PaZone added to local cache: key >5< PaZone Label "
              ">Platform \"1\"<\n*o: zone Platform \"1\" \"Active\"\n*event 40 5\n");
    EXPECT_EQ(handle(1, 5, with(with(full, 6, "1"), 7, "Good")), "");
    EXPECT_EQ(handle(1, 5, with(with(full, 0, "P1"), 6, "1")),
              "*log 1 addUpdatePaZone: updated key >5< PaZone Label >P1<\n"
              "*o: zone P1 \"Active\"\n*event 40 5\n");
    EXPECT_EQ(controller.getPaZones().at(0).health, 3);
    for (const std::size_t column : std::vector<std::size_t>{0, 2, 3, 4, 5}) {
        handle(1, 100, full);
        EXPECT_NE(handle(1, 100, with(full, column, "0")), "") << column;
        EXPECT_EQ(handle(1, 100, with(full, column, "0")), "") << column;
    }
}

TEST_F(ZonesTest, IgnoresRecordsWithoutServerKeyOrList) {
    debugLevel = 1;
    EXPECT_EQ(handle(0, 5, full) + handle(1, 0, full), "");
    controller.addUpdatePaZone(1, 5, nullptr);
    EXPECT_EQ(recordingHost::transcript(), "");
    EXPECT_TRUE(controller.getPaZones().empty());
    PAController lonely;
    RecordList record(full);
    debugLevel = 0;
    recordingHost::transcript();
    lonely.addUpdatePaZone(1, 5, record.list());
    EXPECT_EQ(recordingHost::transcript(), "") << "without an observer nothing is posted";
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
        RecordList record(full);
        recordingHost::transcript();
        fresh.addUpdatePaZone(c.dstNo, 5, record.list());
        EXPECT_EQ(recordingHost::transcript() != "", c.told) << &c - cases.data();
        EXPECT_EQ(fresh.getPaZones().size(), c.inForce ? 1U : 0U) << &c - cases.data();
    }
}

TEST_F(ZonesTest, KeepsTheAttachedZonesOfASource) {
    EXPECT_EQ(attachedTo(3, fieldsOf(R"("Z2^\"Z^1\"^Z2"|ignored)")), (Texts{"kept", "Z2", "Z^1"}));
    Texts unknown;
    controller.getAttachedPaZoneList(4, &unknown);
    EXPECT_TRUE(unknown.empty());
    EXPECT_EQ(attachedTo(3, {"(null)"}), (Texts{"kept"}));
}

TEST_F(ZonesTest, FindsItsMembers) {
    gPaController.initPaResources();
    int key = 0;
    for (const char* const list :
         {"hall/North", "Hallway", "HALL^Hall/East", "Hal", "Other^Hall^Hall", ""}) {
        RecordList record(with({std::to_string(++key)}, 26, list));
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
