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
            RecordList schedule({"uuid~Z" + id});
            controller.updateScheduleList(key, schedule.list());
            controller.addUpdatePaTrigger(key, record.list());
            controller.addUpdatePaSelector(key, record.list());
            controller.addUpdateAttachedPaZone(key, zone.list());
            controller.addUpdateAnnouncementRequest(key, record.list());
            controller.addUpdatePaZone(activeServer, key, zone.list());
            controller.addUpdatePaZone(localServer, key, zone.list());
            RecordList port({"en", "v" + id});
            controller.updateFromTTS_Ports(key, port.list());
            controller.updateFromTTS_Dictionary(key, port.list());
        }
        recordingHost::transcript();
        debugLevel = 1;
    }

    std::string remove(int dstNo, int kind, int key) {
        controller.deleteAudioVideoControllerInfo(dstNo, kind, key);
        return recordingHost::transcript();
    }

    /// How many entries each cache holds: sources, sinks, triggers, selectors, attachments,
    /// requests, zones in force, schedules.
    std::string counts() {
        std::vector<std::string> attached;
        controller.getAttachedPaZoneList(7, &attached);
        controller.getAttachedPaZoneList(9, &attached);
        return std::to_string(controller.getPaSources().size()) +
               std::to_string(controller.getPaSinks().size()) +
               std::to_string(controller.getHwPaTriggers().size()) +
               std::to_string(controller.getPaSelectors().size()) +
               std::to_string(attached.size()) +
               std::to_string(controller.getAnnouncementRequests().size()) +
               std::to_string(controller.getPaZones().size()) +
               std::to_string(controller.listSchedules().size());
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

std::string logged(const std::string& what) {
    return "*log 1 deleteAudioVideoControllerInfo: " + what + " deleted\n";
}

/// What is told of the entries under the keys 7 and 9. Without an event the type is 0.
std::string bothDeleted(const char* kind, const char* prefix, int event, const char* name) {
    std::string text;
    for (const int key : {7, 9}) {
        const std::string id = prefix + std::to_string(key * 10);
        text += "*o: " + std::string(kind) + " " + id + " deleted\n";
        if (event != 0) {
            text += "*event " + std::to_string(event) + " " +
                    (event == 41 ? std::to_string(key) : id) + "\n";
        }
        text += logged(std::string(name) + " >" + id + "<");
    }
    return text;
}

const std::string sources = bothDeleted("source", "", 7, "PaSource ID");
const std::string sinks = bothDeleted("sink", "", 9, "PaSink ID");
const std::string triggers = bothDeleted("trigger", "", 11, "PaTrigger ID");
const std::string selectors = bothDeleted("selector", "", 13, "PaSelector ID");
const std::string requests = bothDeleted("message", "", 0, "Announcement Request UUID");
const std::string primaryZones = bothDeleted("zone", "Z", 41, "PaZone ID");
const std::string localZonesUntold =
    "*event 41 7\n" + logged("PaZone ID >Z70<") + "*event 41 9\n" + logged("PaZone ID >Z90<");

const std::string schedules =  // in order of arrival
    "*o: schedule 9 Z90 deleted\n*event 39 9\n*o: schedule 7 Z70 deleted\n*event 39 7\n";

TEST_F(DeletionTest, EverythingGoesInTheOrderOfTheTable) {
    EXPECT_EQ(remove(0, 0, 0), sources + sinks + triggers + selectors + requests + primaryZones +
                                   localZonesUntold + schedules);
    EXPECT_EQ(counts(), "00000000");
    gActiveAudioServerDstNo = 0;
    EXPECT_TRUE(controller.getPaZones().empty());
}

TEST_F(DeletionTest, AServersWithdrawalsConcernItsOwnRows) {
    EXPECT_EQ(remove(5, 0, 0), "");
    EXPECT_EQ(remove(activeServer, 0, 0), requests + primaryZones + schedules);
    EXPECT_EQ(counts(), "22222000");
    EXPECT_EQ(remove(localServer, 0, 0), sources + sinks + triggers + selectors + localZonesUntold);
    EXPECT_EQ(counts(), "00000000");
}

TEST_F(DeletionTest, OneEntryOfOneKind) {
    EXPECT_EQ(remove(0, 2, 7), "*o: source 70 deleted\n*event 7 70\n" + logged("PaSource ID >70<"));
    EXPECT_EQ(remove(0, 2, 70), "");
    EXPECT_EQ(remove(0, 4, 9),
              "*o: trigger 90 deleted\n*event 11 90\n" + logged("PaTrigger ID >90<"));
    EXPECT_EQ(remove(0, 5, 7),
              "*o: selector 70 deleted\n*event 13 70\n" + logged("PaSelector ID >70<"));
    EXPECT_EQ(remove(0, 6, 7), "");
    EXPECT_EQ(remove(0, 6, 8), "");
    EXPECT_EQ(remove(activeServer, 6, 9), "");
    EXPECT_EQ(remove(0, 11, 9),
              "*o: message 90 deleted\n" + logged("Announcement Request UUID >90<"));
    EXPECT_EQ(remove(activeServer, 18, 8) + remove(localServer, 18, 9), "");
    EXPECT_EQ(remove(activeServer, 18, 9), "*o: schedule 9 Z90 deleted\n*event 39 9\n");
    EXPECT_EQ(remove(0, 1, 0), "");
    EXPECT_EQ(counts(), "12111121");
    EXPECT_EQ(remove(0, 6, 0), "");
    EXPECT_EQ(counts(), "12110121");
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
              "*o: trigger 70 deleted\n*event 11 70\n*o: trigger 90 deleted\n*event 11 90\n"
              "*o: selector 70 deleted\n*event 13 70\n*o: selector 90 deleted\n*event 13 90\n"
              "*o: message 70 deleted\n*o: message 90 deleted\n"
              "*o: zone Z70 deleted\n*event 41 7\n*o: zone Z90 deleted\n*event 41 9\n"
              "*event 41 7\n*event 41 9\n" +
                  schedules);
    EXPECT_EQ(counts(), "00000000");
}

TEST_F(DeletionTest, AReconnectionEmptiesEveryCacheAndKeepsTheObservers) {
    debugLevel = 0;
    RecordList locked(with({"5"}, 9, "uuid-self"));
    controller.addUpdatePaSource(5, locked.list());
    controller.createSwPaTrigger(5, 50);
    TTSPendingInfo preview(1, "en", "v", 48000, "text", 1);
    controller.addToTTSPreviewPendingList("preview", preview);
    recordingHost::transcript();
    debugLevel = 1;
    controller.initPaResources();
    EXPECT_EQ(recordingHost::transcript(),
              "*o: source 5 deleted\n*event 7 5\n" + logged("PaSource ID >5<") + sources + sinks +
                  triggers + selectors + requests + primaryZones + localZonesUntold + schedules);
    EXPECT_EQ(counts(), "00000000");
    EXPECT_TRUE(controller.getTTSVocalizerList().empty());
    EXPECT_TRUE(controller.getTTSDictionaryList().empty());
    EXPECT_EQ(controller.getSwPaTriggers().size(), 1U) << "they are this client's own";

    // No lock is renewed any more, no preview times out, and a new source is told of.
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
