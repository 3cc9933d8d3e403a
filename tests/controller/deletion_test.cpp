#include <gtest/gtest.h>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

constexpr int localServer = 1;
constexpr int activeServer = 2;

struct DeletionTest : testing::Test {
    DeletionTest() {
        recordingHost::reset();
        gLocalDstNo = localServer;
        gActiveAudioServerDstNo = activeServer;
        gIndirectCXSConnection = true;
        controller.registerObserver(&observer);
        for (const int key : {9, 7}) {
            const std::string id = std::to_string(key * 10);
            RecordList record({id});
            RecordList zone({"Z" + id});
            controller.addUpdatePaSource(key, record.list());
            controller.addUpdatePaSink(key, record.list());
            controller.addUpdateAttachedPaZone(key, zone.list());
            controller.addUpdateAnnouncementRequest(key, record.list());
            controller.addUpdatePaZone(activeServer, key, zone.list());
            controller.addUpdatePaZone(localServer, key, zone.list());
            RecordList port({"en", "v" + id});
            controller.updateFromTTS_Ports(key, port.list());
        }
        recordingHost::transcript();
        debugLevel = 1;
    }

    std::string remove(int dstNo, int kind, int key) {
        controller.deleteAudioVideoControllerInfo(dstNo, kind, key);
        return recordingHost::transcript();
    }

    /// How many entries each cache holds: sources, sinks, attachments, requests, zones in force.
    std::string counts() {
        std::vector<std::string> attached;
        controller.getAttachedPaZoneList(7, &attached);
        controller.getAttachedPaZoneList(9, &attached);
        return std::to_string(controller.getPaSources().size()) +
               std::to_string(controller.getPaSinks().size()) + std::to_string(attached.size()) +
               std::to_string(controller.getAnnouncementRequests().size()) +
               std::to_string(controller.getPaZones().size());
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

std::string logged(const std::string& what) {
    return "*log 1 deleteAudioVideoControllerInfo: " + what + " deleted\n";
}

const std::string sources = "*o: source 70 deleted\n*event 7 70\n" + logged("PaSource ID >70<") +
                            "*o: source 90 deleted\n*event 7 90\n" + logged("PaSource ID >90<");
const std::string sinks = "*o: sink 70 deleted\n*event 9 70\n" + logged("PaSink ID >70<") +
                          "*o: sink 90 deleted\n*event 9 90\n" + logged("PaSink ID >90<");
const std::string requests = "*o: message 70 deleted\n" + logged("Announcement Request UUID >70<") +
                             "*o: message 90 deleted\n" + logged("Announcement Request UUID >90<");
const std::string primaryZones = "*o: zone Z70 deleted\n*event 41 7\n" + logged("PaZone ID >Z70<") +
                                 "*o: zone Z90 deleted\n*event 41 9\n" + logged("PaZone ID >Z90<");
const std::string localZonesUntold =
    "*event 41 7\n" + logged("PaZone ID >Z70<") + "*event 41 9\n" + logged("PaZone ID >Z90<");

TEST_F(DeletionTest, EverythingGoesInTheOrderOfTheTable) {
    EXPECT_EQ(remove(0, 0, 0), sources + sinks + requests + primaryZones + localZonesUntold);
    EXPECT_EQ(counts(), "00000");
    gActiveAudioServerDstNo = 0;
    EXPECT_TRUE(controller.getPaZones().empty());
}

TEST_F(DeletionTest, AServersWithdrawalsConcernItsOwnRows) {
    EXPECT_EQ(remove(5, 0, 0), "");
    EXPECT_EQ(remove(activeServer, 0, 0), requests + primaryZones);
    EXPECT_EQ(counts(), "22200");
    EXPECT_EQ(remove(localServer, 0, 0), sources + sinks + localZonesUntold);
    EXPECT_EQ(counts(), "00000");
}

TEST_F(DeletionTest, OneEntryOfOneKind) {
    EXPECT_EQ(remove(0, 2, 7), "*o: source 70 deleted\n*event 7 70\n" + logged("PaSource ID >70<"));
    EXPECT_EQ(remove(0, 2, 70), "");
    EXPECT_EQ(remove(0, 6, 7), "");
    EXPECT_EQ(remove(0, 6, 8), "");
    EXPECT_EQ(remove(activeServer, 6, 9), "");
    EXPECT_EQ(remove(0, 11, 9),
              "*o: message 90 deleted\n" + logged("Announcement Request UUID >90<"));
    EXPECT_EQ(remove(0, 1, 0), "");
    EXPECT_EQ(counts(), "12112");
    EXPECT_EQ(remove(0, 6, 0), "");
    EXPECT_EQ(counts(), "12012");
}

TEST_F(DeletionTest, ALocalZoneIsToldOfWhileTheLocalServerStandsIn) {
    gActiveAudioServerDstNo = 0;
    EXPECT_EQ(remove(localServer, 20, 9),
              "*o: zone Z90 deleted\n*event 41 9\n" + logged("PaZone ID >Z90<"));
    gIndirectCXSConnection = false;
    EXPECT_EQ(remove(localServer, 20, 7), "*event 41 7\n" + logged("PaZone ID >Z70<"));
}

TEST_F(DeletionTest, AnObserverMayDeleteWhatIsBeingDeleted) {
    observer.inCallback = [this] {
        observer.inCallback = nullptr;
        controller.initPaResources();
    };
    debugLevel = 0;
    EXPECT_EQ(remove(0, 2, 0),
              "*o: source 70 deleted\n"
              "*o: source 70 deleted\n*event 7 70\n*o: source 90 deleted\n*event 7 90\n"
              "*o: sink 70 deleted\n*event 9 70\n*o: sink 90 deleted\n*event 9 90\n"
              "*o: message 70 deleted\n*o: message 90 deleted\n"
              "*o: zone Z70 deleted\n*event 41 7\n*o: zone Z90 deleted\n*event 41 9\n"
              "*event 41 7\n*event 41 9\n");
    EXPECT_EQ(counts(), "00000");
}

TEST_F(DeletionTest, AReconnectionEmptiesEveryCacheAndKeepsTheObservers) {
    debugLevel = 0;
    RecordList locked(with({"5"}, 9, "uuid-self"));
    controller.addUpdatePaSource(5, locked.list());
    recordingHost::transcript();
    debugLevel = 1;
    controller.initPaResources();
    EXPECT_EQ(recordingHost::transcript(), "*o: source 5 deleted\n*event 7 5\n" +
                                               logged("PaSource ID >5<") + sources + sinks +
                                               requests + primaryZones + localZonesUntold);
    EXPECT_EQ(counts(), "00000");
    EXPECT_TRUE(controller.getTTSVocalizerList().empty());

    // No lock is renewed any more, and a new source is told of.
    struct Stop {};
    debugLevel = 0;
    recordingHost::setSleepAction([](int) { throw Stop(); });
    EXPECT_THROW(controller.threadFunction(nullptr), Stop);
    recordingHost::setSleepAction(nullptr);
    EXPECT_EQ(recordingHost::transcript(), "sleep 9000\n");
    controller.addUpdatePaSource(5, locked.list());
    EXPECT_EQ(recordingHost::transcript(), "sleep 100\n*o: source 5 \n*event 6 5\n");
}

}  // namespace
