#include "link/Router.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "framework/clock.h"
#include "framework/eventQueue.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "tests/recordingHost/NotingObserver.h"
#include "tests/support/noPauses.h"

namespace {

using pa::RecordKind;
using palink::Record;
using palink::Withdrawal;

constexpr int server = 1;

/// Notes what the controller notifies of.
struct Notes : NotingObserver {
    void called(const std::string& kind, const std::string& id, const std::string& what) override {
        const std::lock_guard guard(lock);
        all += kind + " " + id + " " + what + "; ";
    }
    std::string take() {
        const std::lock_guard guard(lock);
        return std::exchange(all, {});
    }

    std::mutex lock;
    std::string all;
};

std::atomic<std::int64_t> nowMS{0};
std::atomic<bool> timePasses{true};

/// A pause is over at once, unless the test holds time.
void pass(int ms) {
    while (!timePasses) {
        std::this_thread::yield();
    }
    nowMS += ms;
}

struct RouterTest : testing::Test {
    RouterTest() {
        static bool registered = false;
        if (!std::exchange(registered, true)) {
            gPaController.registerObserver(&notes());
        }
        pa::store(gLocalDstNo, server);
        pa::store(gActiveAudioServerDstNo, server);
        pa::TimeSource source = withoutPauses(pass);
        source.monotonicMS = [] { return nowMS.load(); };
        pa::setTimeSource(source);
        gPaController.initPaResources();
        notes().take();
    }
    ~RouterTest() override {
        router.waitUntilIdle();
        pa::setTimeSource({});
        pa::setLogSink({});
    }

    void tellSource(int key, const std::string& label) {
        router.handle(Record{server, RecordKind::Source, key, {std::to_string(key), "", label}});
    }

    static Notes& notes() {
        static Notes& theNotes = *new Notes;  // must outlive the controller
        return theNotes;
    }

    palink::Router router{gPaController};
};

TEST_F(RouterTest, BringsEachKindToItsHandler) {
    const std::vector<std::pair<Record, const char*>> records = {
        {{server, RecordKind::Source, 1, {"11"}}, "source 11 ; "},
        {{server, RecordKind::Schedule, 10, {"Daily"}}, "schedule 10 Daily; "},
        {{server, RecordKind::Sink, 2, {"12"}}, "sink 12 ; "},
        {{server, RecordKind::Zone, 3, {"Z"}}, "zone Z ; "},
        {{server, RecordKind::AttachedZones, 4, {"A"}}, ""},
        {{server, RecordKind::Announcement, 5, {"r"}}, "message r ; "},
        {{server, RecordKind::TtsPort, 6, {"en", "anna"}}, ""},
        {{server, RecordKind::Trigger, 7, {"17"}}, "trigger 17 ; "},
        {{server, RecordKind::Selector, 8, {"18"}}, "selector 18 ; "},
        {{server, RecordKind::TtsDictionary, 9, {"6", "u"}}, "audio u rendered 0 ; "},
    };
    for (const auto& [record, notified] : records) {
        router.handle(record);
        router.waitUntilIdle();
        EXPECT_EQ(notes().take(), notified);
    }
    std::vector<std::string> attached;
    gPaController.getAttachedPaZoneList(4, &attached);
    EXPECT_EQ(attached.size(), 1U);
    EXPECT_EQ(gPaController.getTTSVocalizerList().at(0).portNo, 6);

    for (const auto& [kind, key] : {std::pair{RecordKind::TtsPort, 6},
                                    {RecordKind::TtsDictionary, 9},
                                    {RecordKind::Zone, 3}}) {
        router.handle(Withdrawal{server, kind, key});
    }
    EXPECT_TRUE(gPaController.getTTSVocalizerList().empty());
    EXPECT_TRUE(gPaController.getTTSDictionaryList().empty());
    EXPECT_TRUE(gPaController.getPaZones().empty());
    EXPECT_EQ(gPaController.getPaSinks().size(), 1U);
}

TEST_F(RouterTest, KeepsTheOrderOfOneKeyWithdrawalsIncludedWithinOnePause) {
    const std::int64_t start = nowMS;
    timePasses = false;
    std::string expected;
    for (int round = 0; round < 20; ++round) {
        const std::string label = std::to_string(round);
        tellSource(7, label);
        tellSource(7, label);
        router.handle(Withdrawal{server, RecordKind::Source, 7});
        expected += "source 7 " + label + "; source 7 deleted; ";  // the second changes nothing
    }
    tellSource(7, "last");
    timePasses = true;
    router.waitUntilIdle();
    EXPECT_EQ(notes().take(), expected + "source 7 last; ");
    EXPECT_EQ(nowMS, start + 100);
}

TEST_F(RouterTest, AWithdrawalOfAllAndAResetWaitForPendingNotifications) {
    const std::optional<Withdrawal> removals[] = {
        std::nullopt, Withdrawal{server, RecordKind::Source, 0},
        Withdrawal{0, RecordKind::Any, 0}};  // nothing: a reset
    for (const auto& withdrawal : removals) {
        const std::int64_t start = nowMS;
        timePasses = false;
        for (int key = 1; key <= 50; ++key) {
            tellSource(key, "");
        }
        timePasses = true;
        withdrawal ? router.handle(*withdrawal) : router.reset();
        EXPECT_TRUE(gPaController.getPaSources().empty());
        const std::string notified = notes().take();
        EXPECT_LT(notified.rfind("source 50 ; "), notified.find("deleted"));
        EXPECT_NE(notified.find("source 50 deleted; "), std::string::npos);
        EXPECT_LE(nowMS, start + 100);
    }
}

std::size_t threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST_F(RouterTest, RecordsWaitNeitherForEachOthersPauseNorForAThread) {
    const std::int64_t start = nowMS;
    timePasses = false;
    tellSource(1, "first");
    const std::size_t before = threads();
    for (const std::string label : {"a", "b", "c"}) {
        for (int key = 1; key <= 100; ++key) {
            tellSource(key, label);
        }
    }
    router.handle(Record{server, RecordKind::Sink, 5, {"5"}});
    EXPECT_EQ(notes().take(), "sink 5 ; ") << "it does not wait for the sources";
    for (const PaSource& source : gPaController.getPaSources()) {
        EXPECT_EQ(source.label, "c") << "merged on arrival";
    }
    EXPECT_LE(threads(), before) << "fewer when that of a router before has just ended";
    timePasses = true;
    router.waitUntilIdle();
    std::string expected;
    for (int round = 0; round < 3; ++round) {
        for (int key = 1; key <= 100; ++key) {
            expected += "source " + std::to_string(key) + " c; ";
        }
    }
    EXPECT_EQ(notes().take(), "source 1 c; " + expected) << "a call each, as the entry is by then";
    EXPECT_EQ(nowMS, start + 100);
}

TEST_F(RouterTest, AnUnchangedRecordPostsItsEventAfterThePause) {
    EventItem event;
    tellSource(1, "a");
    router.waitUntilIdle();
    while (pa::eventQueue::next(event)) {
    }
    timePasses = false;
    tellSource(1, "a");
    EXPECT_FALSE(pa::eventQueue::next(event));
    timePasses = true;
    router.waitUntilIdle();
    ASSERT_TRUE(pa::eventQueue::next(event));
    EXPECT_EQ(event.type, EventItem::PA_SOURCE_UPDATED);
    EXPECT_FALSE(pa::eventQueue::next(event));
}

TEST_F(RouterTest, ReportsHowManyNotificationsItsEndDrops) {
    std::string errors;
    pa::setLogSink([&errors](const pa::LogLine& line) { errors += line.text; });
    timePasses = false;
    for (int key = 1; key <= 3; ++key) {
        tellSource(key, "");
    }
    router.releaseWaiters();
    router.reset();
    EXPECT_EQ(gPaController.getPaSources().size(), 3U) << "a link that stops resets nothing";
    router.end(std::chrono::milliseconds(0));
    timePasses = true;
    pa::setLogSink({});
    EXPECT_EQ(errors, "the link has stopped: 3 notifications and withdrawals are dropped");
    router.begin();
    tellSource(4, "");
    router.waitUntilIdle();
    EXPECT_EQ(notes().take(), "source 4 ; ");
}

TEST_F(RouterTest, ReportsAKindThatItDoesNotKnow) {
    pa::flushSuppressedErrors();  // of a run before this one
    std::string errors;
    pa::setLogSink([&errors](const pa::LogLine& line) { errors += line.text; });
    router.handle(Record{server, static_cast<RecordKind>(77), 5, {"x"}});
    pa::setLogSink({});
    EXPECT_EQ(errors, "record of unknown kind >77< key >5< dropped");
    EXPECT_EQ(notes().take(), "");
}

TEST_F(RouterTest, SurvivesWhateverAFieldHolds) {
    pa::setLogSink([](const pa::LogLine&) {});
    pa::RecordFields hostile = {std::nullopt, "", "(null)", "\"", "\\", "^^^", "-"};
    hostile.insert(hostile.end(), {"99999999999999999999", "nan", "\xff\xfe\x80",
                                   std::string(1'000'000, '\\'), std::string(1'000'000, '"')});
    for (const auto& [kind, name] : pa::recordKinds) {
        for (const auto& field : hostile) {
            router.handle(Record{server, kind, 9, pa::RecordFields(40, field)});
        }
        router.handle(Record{server, kind, 9, {}});
    }
    for (const auto& whole : hostile) {  // in the parts of a schedule
        const std::string content = whole.value_or("").substr(0, 10'000);
        for (const std::string type : {"2", "4", "1", "9"}) {
            pa::RecordFields fields(11);
            fields[9] = type + ",o,Z," + content;
            fields[10] = "9,o,Z," + content;
            router.handle(Record{server, RecordKind::Schedule, 9, fields});
        }
    }
    router.waitUntilIdle();
    EXPECT_EQ(gPaController.getPaZones().size(), 1U);
    // A record that decodes to another id never replaces the first.
    EXPECT_EQ(gPaController.getPaSinks().at(0).id, 0);
    pa::flushSuppressedErrors();
}

}  // namespace
