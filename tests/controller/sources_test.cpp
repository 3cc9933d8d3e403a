// The lock, the zones and the meter of a source.
#include "client/recordText.h"
#include "tests/controller/fixtures.h"

namespace {

struct SourcesTest : OwnController {
    /// A source record with a holder of its lock.
    std::string report(int sourceId, const std::string& holder) {
        return give<&PAController::addUpdatePaSource>(sourceId,
                                                      with({std::to_string(sourceId)}, 9, holder));
    }

    /// Has the server answer during the poll with this number, counted from 1.
    void answer(int poll, int sourceId, const std::string& holder) {
        recordingHost::host().sleepAction = [=, polls = 0](int ms) mutable {
            if (ms == 50 && ++polls == poll) {
                pa::RecordList record(with({std::to_string(sourceId)}, 9, holder));
                controller.addUpdatePaSource(sourceId, record.list());
            }
        };
    }

    /// Lets a second pass in each sleep, from now on.
    void letTimePass(const std::function<void()>& meanwhile = [] {}) {
        recordingHost::host().now = 1000;
        recordingHost::host().sleepAction = [meanwhile, now = 1000](int) mutable {
            meanwhile();
            recordingHost::host().now = ++now;
        };
    }
};

TEST_F(SourcesTest, KeepTheHoldersOfTheirLocksInOrderOfArrival) {
    const std::string log = "*log 1 addUpdatePaSource: Lock Info for sourceId ";
    debugLevel = 1;
    EXPECT_NE(report(9, "a").find(log + ">9<, UUID >a< added to list. Total available lock info in "
                                        "list >1<\nsleep"),
              std::string::npos);
    report(4, "b");
    EXPECT_EQ(report(9, "(null)"), log + ">9< updated. Updated UUID ><\nsleep 100\n*event 6 9\n");
    controller.deleteAudioVideoControllerInfo(0, 2, 0);
    EXPECT_EQ(paclient::linesOf(controller.getPaSourceLocks()), "9|\n4|b\n") << "they stay";
    controller.initPaResources();
    report(4, "c");
    EXPECT_EQ(paclient::linesOf(controller.getPaSourceLocks()), "4|c\n") << "until a reconnection";
}

TEST_F(SourcesTest, AreTakenOnceTheServerConfirmsIt) {
    report(4, "");
    answer(2, 4, "uuid-self");
    EXPECT_TRUE(controller.attachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(),
              "*send -1 92/1 1 4,uuid-self\nsleep 50\nsleep 50\nsleep 100\n*event 6 4\n");
    EXPECT_TRUE(controller.attachPaSource(4)) << "it is held already";
    EXPECT_EQ(recordingHost::transcript(), "");

    gIndirectCXSConnection = true;
    answer(1, 4, "somebody-else");
    EXPECT_TRUE(controller.detachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(),
              "*send -2 92/2 1 4,uuid-self\nsleep 50\nsleep 100\n*event 6 4\n");
}

TEST_F(SourcesTest, AreNotTakenFromAnotherHolderNorWithoutAServer) {
    report(4, "somebody-else");
    report(6, "");
    const auto nothingIsAsked = [this](int sourceId) {
        EXPECT_FALSE(controller.attachPaSource(sourceId)) << sourceId;
        EXPECT_FALSE(controller.detachPaSource(sourceId)) << sourceId;
        EXPECT_EQ(recordingHost::transcript(), "");
    };
    for (const int id : {4, 5, 0, -4}) {
        nothingIsAsked(id);
    }
    EXPECT_FALSE(controller.detachPaSource(6)) << "it is free";
    gAudioServerInstance = nullptr;
    nothingIsAsked(6);
}

TEST_F(SourcesTest, AreGivenUpAfterTheLongestWait) {
    gMaxServerWaitTimeSeconds = 3;
    report(4, "");
    report(5, "uuid-self");
    const std::string polls = "sleep 50\nsleep 50\nsleep 50\n";
    letTimePass();
    EXPECT_FALSE(controller.attachPaSource(4));
    EXPECT_EQ(recordingHost::transcript(), "*send -1 92/1 1 4,uuid-self\n" + polls);
    letTimePass();
    EXPECT_FALSE(controller.detachPaSource(5));
    EXPECT_EQ(recordingHost::transcript(), "*send -1 92/2 1 5,uuid-self\n" + polls);
    letTimePass([this] { controller.initPaResources(); });
    EXPECT_FALSE(controller.detachPaSource(5)) << "that the locks are forgotten confirms nothing";
}

TEST_F(SourcesTest, AreNotWaitedForInsideACallback) {
    report(4, "");
    report(5, "uuid-self");
    RecordingObserver observer("o");
    controller.registerObserver(&observer);
    observer.inCallback = [&] {
        EXPECT_FALSE(controller.attachPaSource(4));
        EXPECT_FALSE(controller.detachPaSource(5));
        EXPECT_TRUE(controller.attachPaSource(5)) << "it is held already";
    };
    pa::RecordList sink({"1"});
    controller.addUpdatePaSink(1, sink.list());
    const std::string why =
        ": called inside a callback of an observer, where no answer can arrive\n";
    EXPECT_EQ(recordingHost::transcript(),
              "*o: sink 1 \n*send -1 92/1 1 4,uuid-self\n*error 1 attachPaSource" + why +
                  "*send -1 92/2 1 5,uuid-self\n*error 1 detachPaSource" + why + "*event 8 1\n");
}

TEST_F(SourcesTest, AreGivenUpWhenTheHostFails) {
    report(4, "");
    recordingHost::host().sleepAction = [](int) { throw std::bad_alloc(); };
    EXPECT_FALSE(controller.attachPaSource(4));
    EXPECT_NE(recordingHost::transcript().find("error 1 attachPaSource: given up: "),
              std::string::npos);
}

TEST_F(SourcesTest, AreMeteredByTheirElement) {
    for (const int id : {250, 99}) {
        pa::RecordList record({std::to_string(id)});
        controller.addUpdatePaSource(id + 1000, record.list());
    }
    recordingHost::transcript();
    controller.enablePaSourceVUMeter(250);
    controller.disablePaSourceVUMeter(99);
    controller.enablePaSourceVUMeter(1250);
    EXPECT_EQ(recordingHost::transcript(), "*meter on 2\n*meter off 0\n");
}

TEST_F(SourcesTest, AskTheProcessesControllerForTheirZones) {
    pa::RecordList zones({"\"B^A\""});
    gPaController.addUpdateAttachedPaZone(4, zones.list());
    PaSource source;
    source.id = 4;
    EXPECT_EQ(source.getAttachedPaZones(), (std::vector<std::string>{"A", "B"}));
    gAudioServerInstance = nullptr;
    EXPECT_TRUE(source.getAttachedPaZones().empty());
    gPaController.initPaResources();
}

}  // namespace
