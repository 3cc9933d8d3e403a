// SPDX-License-Identifier: Apache-2.0
#include "link/Router.h"

#include <tuple>
#include <vector>

#include "framework/eventQueue.h"
#include "sdk/globals.h"
#include "tests/host/HostTest.h"
#include "tests/recordingHost/NotingObserver.h"

namespace {

using pa::RecordKind;
using palink::Record;
using palink::Withdrawal;

constexpr int server = 1;

/// Notes what the controller notifies of.
struct CallNotes : NotingObserver {
    void called(const std::string& kind, const std::string& id, const std::string& what) override {
        all.add(kind + " " + id + " " + what + "; ");
    }
    Transcript all;
};

struct RouterTest : HostTest {
    RouterTest() {
        static CallNotes& theNotes = *new CallNotes;  // must outlive the controller
        notes = &theNotes.all;
        gPaController.registerObserver(&theNotes);
        pa::store(gLocalDstNo, server);
        pa::store(gActiveAudioServerDstNo, server);
        gPaController.initPaResources();
        notes->take();
        log.take();
    }
    ~RouterTest() override { router.waitUntilIdle(); }

    void sendSource(int key, const std::string& label) {
        router.handle(Record{server, RecordKind::Source, key, {std::to_string(key), "", label}});
    }

    Transcript* notes;
    palink::Router router{gPaController};
    const std::int64_t start = nowMS;
};

TEST_F(RouterTest, BringsEachKindToItsHandler) {
    const std::tuple<RecordKind, pa::RecordFields, const char*> rows[] = {
        {RecordKind::Source, {"1"}, "source 1 ; "},
        {RecordKind::Sink, {"1"}, "sink 1 ; "},
        {RecordKind::Trigger, {"1"}, "trigger 1 ; "},
        {RecordKind::Selector, {"1"}, "selector 1 ; "},
        {RecordKind::Announcement, {"r"}, "message r ; "},
        {RecordKind::Zone, {"Z"}, "zone Z ; "},
        {RecordKind::Schedule, {"Daily"}, "schedule 6 Daily; "},
        {RecordKind::AttachedZones, {"Z"}, ""},
        {RecordKind::TtsPort, {"en", "anna"}, ""},
        {RecordKind::TtsDictionary, {"6", "u"}, "audio u rendered 0 ; "},
    };
    for (const auto& [kind, fields, notified] : rows) {
        router.handle(Record{server, kind, 6, fields});
        router.waitUntilIdle();
        EXPECT_EQ(notes->take(), notified);
    }
    std::vector<std::string> attached;
    gPaController.getAttachedPaZoneList(6, &attached);
    EXPECT_EQ(attached.size(), 1U);
    EXPECT_EQ(gPaController.getTTSVocalizerList().size(), 1U);

    for (const RecordKind kind :
         {RecordKind::TtsPort, RecordKind::TtsDictionary, RecordKind::Zone}) {
        router.handle(Withdrawal{server, kind, 6});
    }
    EXPECT_TRUE(gPaController.getTTSVocalizerList().empty());
    EXPECT_TRUE(gPaController.getTTSDictionaryList().empty());
    EXPECT_TRUE(gPaController.getPaZones().empty());
    EXPECT_EQ(gPaController.getPaSinks().size(), 1U);
    router.handle(Record{server, static_cast<RecordKind>(77), 5, {"x"}});
    EXPECT_EQ(log.text(), "E3 record of unknown kind >77< key >5< dropped\n");
}

TEST_F(RouterTest, MergesOnArrivalAndNotifiesOfEachKeyInOrderAfterOnePause) {
    timePasses = false;
    std::string expected;
    for (int round = 0; round < 20; ++round) {
        const std::string label = std::to_string(round);
        sendSource(7, label);
        sendSource(7, label);
        router.handle(Withdrawal{server, RecordKind::Source, 7});
        expected += "source 7 " + label + "; source 7 deleted; ";  // the second changes nothing
    }
    sendSource(7, "last");
    sendSource(8, "a");
    sendSource(8, "b");
    EXPECT_EQ(gPaController.findPaSource(8)->label, "b");
    router.handle(Record{server, RecordKind::Sink, 5, {"5"}});
    EXPECT_EQ(notes->take(), "sink 5 ; ") << "it does not wait for the sources";
    timePasses = true;
    router.waitUntilIdle();
    EXPECT_EQ(notes->take(), expected + "source 7 last; source 8 b; source 8 b; ");
    EXPECT_EQ(nowMS, start + 100);

    EventItem event;
    while (pa::eventQueue::next(event)) {
    }
    timePasses = false;
    sendSource(7, "last");
    EXPECT_FALSE(pa::eventQueue::next(event));
    timePasses = true;
    router.waitUntilIdle();
    EXPECT_TRUE(pa::eventQueue::next(event)) << "of an unchanged record, after its pause";
}

TEST_F(RouterTest, AWithdrawalOfAllAndAResetWaitForPendingNotifications) {
    for (const auto kind : {RecordKind::Source, RecordKind::Any, RecordKind::Sink}) {
        timePasses = false;
        sendSource(1, "a");
        sendSource(2, "b");
        timePasses = true;
        kind == RecordKind::Sink ? router.reset() : router.handle(Withdrawal{server, kind, 0});
        EXPECT_EQ(notes->take(), "source 1 a; source 2 b; source 1 deleted; source 2 deleted; ");
    }
}

TEST_F(RouterTest, ReportsHowManyNotificationsItsEndDrops) {
    timePasses = false;
    for (int key = 1; key <= 3; ++key) {
        sendSource(key, "");
    }
    router.releaseWaiters();
    router.reset();
    EXPECT_EQ(gPaController.getPaSources().size(), 3U) << "a link that stops resets nothing";
    router.end(std::chrono::milliseconds(0));
    timePasses = true;
    EXPECT_EQ(log.text(), "E2 the link has stopped: 3 notifications and withdrawals are dropped\n");
    router.begin();
    sendSource(4, "");
    router.waitUntilIdle();
    EXPECT_EQ(notes->take(), "source 4 ; ");
}

thread_local bool clockFails = false;

TEST_F(RouterTest, ARecordThatCannotBeHandledIsTheOnlyOneLost) {
    pa::TimeSource source;
    source.sleepMS = pause;
    source.monotonicMS = [] {
        if (clockFails) {
            throw std::runtime_error("no clock");
        }
        return nowMS.load();
    };
    pa::setTimeSource(source);
    clockFails = true;
    EXPECT_NO_THROW(sendSource(1, "a"));
    clockFails = false;
    EXPECT_EQ(log.text(), "E3 record of source, key >1< dropped: no clock\n");
    sendSource(2, "b");
    router.waitUntilIdle();
    EXPECT_EQ(notes->take(), "source 2 b; ");
}

TEST_F(RouterTest, SurvivesWhateverAFieldHolds) {
    const std::string longest(1'000'000, '\\');
    std::vector<std::optional<std::string>> hostile = {std::nullopt, "",  "(null)", "\"",   "\\",
                                                       "^^^",        "-", "nan",    longest};
    hostile.insert(hostile.end(), {"99999999999999999999", "\xff\xfe\x80", std::string(9999, '"')});
    for (const auto& field : hostile) {
        for (const auto& row : pa::recordKinds) {
            router.handle(Record{server, row.kind, 9, pa::RecordFields(40, field)});
            router.handle(Record{server, row.kind, 9, {}});
        }
        for (const std::string type : {"2,o,Z,", "4,o,Z,", "1,o,Z,", "9,o,Z,"}) {
            pa::RecordFields fields(11, type + field.value_or("").substr(0, 10'000));
            router.handle(Record{server, RecordKind::Schedule, 9, fields});  // in its parts
        }
    }
    router.waitUntilIdle();
    EXPECT_EQ(gPaController.getPaZones().size(), 1U);
    // A record that decodes to another id never replaces the first.
    EXPECT_EQ(gPaController.getPaSinks().at(0).id, 0);
}

}  // namespace
