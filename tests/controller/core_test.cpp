// SPDX-License-Identifier: Apache-2.0
// The observers of the controller and what they may do, its life.
#include "tests/controller/fixtures.h"

namespace {

struct ObserversTest : ControllerTest {
    ObserversTest() {
        watched.registerObserver(&b);
        watched.registerObserver(&a);
        transcript();
    }
    std::string giveSink() {
        pa::RecordList record({"3"});
        watched.addUpdatePaSink(3, record.list());
        return transcript();
    }

    PAController watched;
    RecordingObserver a{"a"};
    RecordingObserver b{"b"};
};

TEST_F(ObserversTest, AreRegisteredOnceEach) {
    debugLevel = 1;
    RecordingObserver c("c");
    watched.registerObserver(nullptr);
    watched.registerObserver(&c);
    watched.registerObserver(&b);
    EXPECT_EQ(transcript(),
              "log 1 registerObserver: Adding observer to list. Total Observers >3<\n"
              "error 1 registerObserver: paObserver already part of list. Not adding to list\n");
    debugLevel = 0;
    EXPECT_EQ(giveSink(), "*b: sink 3 \n*a: sink 3 \n*c: sink 3 \n*event 8 3\n");
}

TEST_F(ObserversTest, AreNotifiedAlsoWhenOneThrows) {
    a.inCallback = [] { throw 5; };
    b.inCallback = [] { throw std::runtime_error("no idea"); };
    EXPECT_EQ(giveSink(),
              "*b: sink 3 \n*error 1 notifyObservers: an observer threw >no idea<\n"
              "*a: sink 3 \n*error 1 notifyObservers: an observer threw\n*event 8 3\n");
}

using CoreTest = ControllerTest;

TEST_F(CoreTest, StartsItsWorkerOnceTheMutexIsReady) {
    PAController fresh;
    EXPECT_EQ(transcript(), "mutex ready\nthread started\n");
}

TEST_F(CoreTest, ReportsThatTheRecordOfAttachedZonesIsNotThere) {
    controller.addUpdateAttachedPaZone(3, nullptr);
    EXPECT_EQ(transcript(), "error 3 addUpdateAttachedPaZone: no record for key >3<\n");
}

TEST_F(CoreTest, DoesNotWaitForACallbackToForgetPreviewsAndRequests) {
    controller.initPaResources();
    EXPECT_EQ(recordingHost::mutexEntries(), 4) << "locks, records, voices, dictionary";
}

TEST_F(CoreTest, ACallbackMayEmptyTheCachesHoweverMuchTheyHold) {
    constexpr int many = 20'000;  // too many for a recursion
    for (int key = 1; key <= many; ++key) {
        giveSink(key, {std::to_string(key)});
    }
    giveTrigger(1, {"1"});
    givePort(1, {"en"});
    int notified = 0;
    observer.inCallback = [&] {
        ++notified;
        controller.deleteAudioVideoControllerInfo(0, 0, 0);
        controller.initPaResources();
        controller.deleteAudioVideoControllerInfo(0, 3, notified + 1);
    };
    controller.deleteAudioVideoControllerInfo(0, 3, 1);
    EXPECT_EQ(notified, many + 1) << "each is reported once";
    EXPECT_TRUE(controller.getPaSinks().empty() && controller.getHwPaTriggers().empty());
    EXPECT_TRUE(controller.getTTSVocalizerList().empty()) << "the reset is carried out as well";
}

TEST_F(CoreTest, APreviewThatACallbackAsksForAgainIsReportedOnceInAPass) {
    TTSPendingInfo old(4, "en", "anna", 48000, "text", 0);
    observer.inCallback = [&] { controller.addToTTSPreviewPendingList("p", old); };
    controller.addToTTSPreviewPendingList("p", old);
    EXPECT_EQ(passes(2), "*o: audio p failed 1 \nsleep 9000\n*o: audio p failed 1 \nsleep 9000\n");
}

}  // namespace
