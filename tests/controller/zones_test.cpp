// The cache of a zone, the zones of a source, the sinks of a zone.
#include "tests/controller/fixtures.h"

namespace {

using Texts = std::vector<std::string>;

struct ZonesTest : OwnController {
    static std::string handle(PAController& controller, int dstNo, int key) {
        pa::RecordList record({"Z"});
        recordingHost::transcript();
        controller.addUpdatePaZone(dstNo, key, record.list());
        return recordingHost::transcript();
    }

    RecordingObserver observer{"o"};
};

TEST_F(ZonesTest, IgnoreRecordsWithoutServerOrKeyAndPostNothingUnobserved) {
    EXPECT_EQ(handle(controller, 1, 5), "") << "without an observer nothing is posted";
    EXPECT_EQ(controller.getPaZones().size(), 1U);
    controller.registerObserver(&observer);
    EXPECT_EQ(handle(controller, 0, 6) + handle(controller, 1, 0), "");
    EXPECT_EQ(controller.getPaZones().size(), 1U);
}

/// The cache of a zone, whether it is reported, and which cache is then in force.
TEST_F(ZonesTest, ChooseTheirCacheAsTheTable) {
    struct Case {
        bool indirect;
        int active;
        int dstNo;  // the local server is 1
        bool notified;
        bool inForce;
    };
    const std::vector<Case> cases = {
        {false, 1, 1, true, true},    // direct, the active server's own
        {false, 2, 1, false, true},   // the primary cache, but not from the active server
        {false, 0, 1, true, false},   // reported, but without a server nothing is in force
        {false, 0, 3, false, false},  //
        {true, 2, 2, true, true},     // indirect, the active server
        {true, 2, 1, false, false},   // the local server's cache is not in force
        {true, 0, 1, true, true},     // the local server replaces it
        {true, 0, 3, false, false},   //
        {true, -1, 1, false, true},
        {true, 1, 1, true, false},  // reported, but the primary cache is in force
    };
    for (const Case& c : cases) {
        PAController fresh;
        fresh.registerObserver(&observer);
        gIndirectCXSConnection = c.indirect;
        gActiveAudioServerDstNo = c.active;
        EXPECT_EQ(handle(fresh, c.dstNo, 5) != "", c.notified) << &c - cases.data();
        EXPECT_EQ(fresh.getPaZones().size(), c.inForce ? 1U : 0U) << &c - cases.data();
        EXPECT_TRUE(fresh.findPaZone(5) || !(c.notified || c.inForce)) << "its event leads to it";
    }
}

TEST_F(ZonesTest, OfASourceAreKeptInSortedOrder) {
    const auto attachedTo = [this](int key, const pa::RecordFields& fields) {
        pa::RecordList record(fields);
        controller.addUpdateAttachedPaZone(key, record.list());
        Texts zones = {"kept"};
        controller.getAttachedPaZoneList(key, &zones);
        return zones;
    };
    EXPECT_EQ(attachedTo(3, fieldsOf(R"("Z2^\"Z^1\"^Z2"|ignored)")), (Texts{"kept", "Z2", "Z^1"}));
    EXPECT_EQ(attachedTo(3, {"(null)"}), (Texts{"kept"}));
    controller.addUpdateAttachedPaZone(3, nullptr);
    EXPECT_EQ(recordingHost::transcript(),
              "error 3 addUpdateAttachedPaZone: no record for key >3<\n");
    Texts unknown;
    controller.getAttachedPaZoneList(4, &unknown);
    EXPECT_TRUE(unknown.empty());
}

TEST_F(ZonesTest, FindTheirMembers) {
    gPaController.initPaResources();
    int key = 0;
    for (const char* const list :
         {"hall/North", "Hallway", "HALL^Hall/East", "Hal", "Other^Hall^Hall", ""}) {
        pa::RecordList record(with({std::to_string(++key)}, 26, list));
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
