// The withdrawal of records: the order of the caches, whose server each belongs to, a reconnection.
#include "tests/controller/fixtures.h"
#include "tests/controller/recordKinds.h"

namespace {

constexpr int localServer = 1;
constexpr int activeServer = 2;

/// The notifications and log lines for the ids 70 and 90 under the keys 7 and 9. The event has the
/// id, and for zones the key; without an event it is 0.
std::string both(const std::string& kind, int event, const std::string& name,
                 bool notified = true) {
    std::string text;
    for (const int key : {7, 9}) {
        const std::string id = std::to_string(key * 10);
        text += notified ? "*o: " + kind + " " + id + " deleted\n" : "";
        text += event == 0 ? ""
                           : "*event " + std::to_string(event) + " " +
                                 (kind == "zone" ? std::to_string(key) : id) + "\n";
        text += "*log 1 deleteAudioVideoControllerInfo: " + name + " >" + id + "< deleted\n";
    }
    return text;
}

const std::string sources = both("source", 7, "PaSource ID");
const std::string sinks = both("sink", 9, "PaSink ID");
const std::string triggers = both("trigger", 11, "PaTrigger ID");
const std::string selectors = both("selector", 13, "PaSelector ID");
const std::string requests = both("message", 0, "Announcement Request UUID");
const std::string zones = both("zone", 41, "PaZone ID");
const std::string zonesUntold = both("zone", 41, "PaZone ID", false);
const std::string schedules =  // in order of arrival, and not logged
    "*o: schedule 9 90 deleted\n*event 39 9\n*o: schedule 7 70 deleted\n*event 39 7\n";

/// The caches hold the ids 90 and 70 under the keys 9 and 7; zones are in both of theirs.
struct WithdrawalTest : WatchedController {
    WithdrawalTest() {
        gLocalDstNo = localServer;
        gActiveAudioServerDstNo = activeServer;
        gIndirectCXSConnection = true;
        for (const int key : {9, 7}) {
            pa::RecordList record({std::to_string(key * 10)});
            for (const RecordCase& kind : everyKind()) {
                kind.handle(controller, key, record.list());  // a zone of the local server
            }
            controller.addUpdatePaZone(activeServer, key, record.list());
            controller.addUpdateAttachedPaZone(key, record.list());
        }
        recordingHost::transcript();
        debugLevel = 1;
    }

    std::string remove(int dstNo, int kind, int key) {
        controller.deleteAudioVideoControllerInfo(dstNo, kind, key);
        return recordingHost::transcript();
    }

    /// How many zones are attached to sources, and how many are in force.
    std::pair<std::size_t, std::size_t> zoneCounts() {
        std::vector<std::string> attached;
        controller.getAttachedPaZoneList(7, &attached);
        controller.getAttachedPaZoneList(9, &attached);
        return {attached.size(), controller.getPaZones().size()};
    }
    void expectEmptyCaches() {
        for (const RecordCase& kind : everyKind()) {
            const bool withdrawable = std::string(kind.handler).find("TTS") == std::string::npos;
            EXPECT_EQ(kind.cache(controller) == "", withdrawable) << kind.handler;
        }
        EXPECT_EQ(zoneCounts(), std::pair(std::size_t{0}, std::size_t{0}));
    }
};

TEST_F(WithdrawalTest, EverythingGoesInTheOrderOfTheTable) {
    EXPECT_EQ(remove(0, 0, 0),
              sources + sinks + triggers + selectors + requests + zones + zonesUntold + schedules);
    expectEmptyCaches();
    gActiveAudioServerDstNo = 0;
    EXPECT_TRUE(controller.getPaZones().empty());
}

TEST_F(WithdrawalTest, AServersWithdrawalsConcernItsOwnRows) {
    EXPECT_EQ(remove(5, 0, 0), "");
    EXPECT_EQ(remove(activeServer, 0, 0), requests + zones + schedules);
    EXPECT_EQ(zoneCounts(), std::pair(std::size_t{2}, std::size_t{0}));
    EXPECT_EQ(remove(localServer, 0, 0), sources + sinks + triggers + selectors + zonesUntold);
    expectEmptyCaches();
}

TEST_F(WithdrawalTest, AttachedZonesGoWithoutAWord) {
    EXPECT_EQ(remove(0, 6, 7) + remove(0, 6, 8) + remove(activeServer, 6, 9) + remove(0, 1, 0), "");
    EXPECT_EQ(zoneCounts(), std::pair(std::size_t{1}, std::size_t{2}));
    EXPECT_EQ(remove(localServer, 6, 0), "");
    EXPECT_EQ(zoneCounts().first, 0U);
}

TEST_F(WithdrawalTest, ReportsALocalZoneWhileTheLocalServerReplacesTheActiveOne) {
    debugLevel = 0;
    gActiveAudioServerDstNo = 0;
    EXPECT_EQ(remove(localServer, 20, 9), "*o: zone 90 deleted\n*event 41 9\n");
    gIndirectCXSConnection = false;
    EXPECT_EQ(remove(localServer, 20, 7), "*event 41 7\n");
}

TEST_F(WithdrawalTest, WhatACallbackDeletesIsDeletedNextAndReportedOnce) {
    observer.inCallback = [this] { controller.deleteAudioVideoControllerInfo(0, 0, 0); };
    EXPECT_EQ(remove(0, 2, 0),
              sources + sinks + triggers + selectors + requests + zones + zonesUntold + schedules);
    expectEmptyCaches();
}

TEST_F(WithdrawalTest, ACallbackMayEmptyTheCachesHoweverMuchTheyHold) {
    constexpr int many = 20'000;  // too many for a recursion
    debugLevel = 0;
    for (int key = 1; key <= many; ++key) {
        pa::RecordList record({std::to_string(key)});
        controller.addUpdatePaSink(key, record.list());
    }
    int notified = 0;
    observer.inCallback = [&] {
        ++notified;
        controller.initPaResources();
        controller.deleteAudioVideoControllerInfo(0, 3, notified + 1);
    };
    remove(0, 3, 1);
    EXPECT_EQ(notified, many + 12) << "two entries of each other kind";
    for (const RecordCase& kind : everyKind()) {
        EXPECT_EQ(kind.cache(controller), "") << "the reset is carried out as well";
    }
}

TEST_F(WithdrawalTest, WithoutObserversTheEventsComeAllTheSame) {
    PAController unattached;
    pa::RecordList record({"70"});
    unattached.addUpdatePaSink(7, record.list());
    recordingHost::transcript();
    unattached.deleteAudioVideoControllerInfo(0, 3, 7);
    EXPECT_EQ(recordingHost::transcript(),
              "*event 9 70\n*log 1 deleteAudioVideoControllerInfo: PaSink ID >70< deleted\n");
    EXPECT_TRUE(unattached.getPaSinks().empty());
}

TEST_F(WithdrawalTest, AReconnectionEmptiesEveryCacheAndKeepsTheObservers) {
    pa::RecordList locked(with({"50"}, 9, "uuid-self"));
    controller.addUpdatePaSource(5, locked.list());
    ASSERT_GT(controller.createSwPaTrigger(5, 50), 0);
    TTSPendingInfo preview(1, "en", "v", 48000, "text", 1);
    controller.addToTTSPreviewPendingList("preview", preview);
    recordingHost::transcript();
    recordingHost::mutexEntries();
    controller.initPaResources();
    EXPECT_EQ(recordingHost::mutexEntries(), 4)
        << "locks, records, voices, dictionary: the rest does without";
    EXPECT_EQ(recordingHost::transcript(),
              "*o: source 50 deleted\n*event 7 50\n*log 1 deleteAudioVideoControllerInfo: PaSource "
              "ID >50< deleted\n" +
                  sources + sinks + triggers + selectors + requests + zones + zonesUntold +
                  schedules);
    debugLevel = 0;
    for (const RecordCase& kind : everyKind()) {
        EXPECT_EQ(kind.cache(controller), "") << kind.handler;
    }
    EXPECT_EQ(controller.getSwPaTriggers().size(), 1U) << "they are this client's own";

    // No lock is renewed any more, no preview times out, and a new source is reported.
    EXPECT_EQ(passOf(controller), "sleep 9000\n");
    controller.addUpdatePaSource(5, locked.list());
    EXPECT_EQ(recordingHost::transcript(), "sleep 100\n*o: source 50 \n*event 6 50\n");
}

}  // namespace
