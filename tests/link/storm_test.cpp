// Everything at once, for the sanitizers: records, withdrawals, reconnections, queries, operations,
// registrations. What the caches then hold is compared with what one thread makes of it.
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <random>
#include <variant>

#include "framework/log.h"
#include "framework/posixThread.h"
#include "link/Router.h"
#include "sdk/AudioServer.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"
#include "tests/support/recordText.h"

namespace {

using palink::Record;
using palink::RecordKind;
using palink::Withdrawal;

constexpr int server = 1;
constexpr int keys = 40;

/// Calls back into the controller, as applications do, and throws now and then.
struct Nosy : pa::PAControllerObserverAdapter {
    void onPaSourceUpdate(PaSource source) override {
        if (active) {
            gPaController.getPaSinks();
            gPaController.registerObserver(this);
            gPaController.cancelMessage(source.label);
            throw std::runtime_error("not today");
        }
    }
    void onPaSourceDelete(int id) override { gPaController.getPaSelectors(id); }
    std::atomic<bool> active{true};
};

/// Takes every operation.
struct Sender : pa::OperationSender {
    bool sendOperation(const pa::Operation& /*operation*/) override { return true; }
};

struct Reconnection {};
using Event = std::variant<Record, Withdrawal, Reconnection>;

/// The same events at each call. Every field is a small number, which suits every kind but for a
/// schedule's parts and a port's rate.
/// @param own the UUID of this client, which holds some of the locks
std::vector<Event> makeStream(std::size_t length, const std::string& own) {
    constexpr RecordKind kinds[] = {
        RecordKind::Source,        RecordKind::Sink,         RecordKind::Trigger,
        RecordKind::AttachedZones, RecordKind::Announcement, RecordKind::Selector,
        RecordKind::Zone,          RecordKind::TtsPort,      RecordKind::TtsDictionary,
        RecordKind::Schedule,
    };
    std::mt19937 random(20'000);
    const auto upTo = [&random](int n) { return static_cast<int>(random() % unsigned(n)) + 1; };
    std::vector<Event> stream;
    while (stream.size() < length) {
        const RecordKind kind = kinds[upTo(std::size(kinds)) - 1];
        const int key = upTo(keys);
        const int dice = upTo(4000);
        if (dice == 1) {
            stream.emplace_back(Reconnection{});
        } else if (dice < 10) {
            stream.emplace_back(Withdrawal{0, static_cast<int>(kind), 0});
        } else if (dice < 800) {
            stream.emplace_back(Withdrawal{server, static_cast<int>(kind), key});
        } else {
            pa::RecordFields fields(32);
            std::generate(fields.begin(), fields.end(), [&] { return std::to_string(upTo(3)); });
            fields[0] = std::to_string(key);
            if (kind == RecordKind::Source) {
                const std::string holders[] = {"", own, "other-client"};
                fields[9] = holders[std::stoul(*fields[1]) - 1];
            }
            if (kind == RecordKind::Schedule) {
                fields[9] = "2,o,Z" + *fields[1] + ",1^" + *fields[2] + "!3";
                fields[10].reset();
            } else if (kind == RecordKind::TtsPort) {
                fields[2] = "48000";
            }
            stream.emplace_back(Record{server, kind, key, std::move(fields)});
        }
    }
    return stream;
}

void deliver(palink::Router& router, const Event& event) {
    if (const auto* const record = std::get_if<Record>(&event)) {
        router.handle(*record);
    } else if (const auto* const withdrawal = std::get_if<Withdrawal>(&event)) {
        router.handle(*withdrawal);
    } else {
        router.reset();
    }
}

/// The lines of a list in sorted order: what arrives behind a withdrawal that waits takes its place
/// in the order of arrival when it is handled.
template <class Record>
std::string sortedList(const std::vector<Record>& records) {
    std::vector<std::string> lines;
    for (const Record& record : records) {
        lines.push_back(textOf(record) + "\n");
    }
    std::sort(lines.begin(), lines.end());
    return std::accumulate(lines.begin(), lines.end(), std::string());
}

/// Everything that records fill, one cache after the other.
std::vector<std::string> cachesOf(PAController& c) {
    std::string attached;
    for (int key = 1; key <= keys; ++key) {
        std::vector<std::string> zones;
        c.getAttachedPaZoneList(key, &zones);
        attached += joined(zones);
    }
    return {attached,
            listed(c.getPaSources()),
            sortedList(c.getPaSourceLocks()),
            listed(c.getPaSinks()),
            listed(c.getHwPaTriggers()),
            listed(c.getPaSelectors()),
            listed(c.getPaZones()),
            listed(c.getAnnouncementRequests()),
            sortedList(c.listSchedules()),
            listed(c.getTTSVocalizerList()),
            listed(c.getTTSDictionaryList())};
}

/// One round of what an application does, all of it.
void useController(int round) {
    PAController& c = gPaController;
    const int id = round % keys + 1;
    c.attachPaSource(id);
    c.detachPaSource(id);
    c.enablePaSourceVUMeter(id);
    const int trigger = c.createSwPaTrigger(id, 50);
    c.activateSwPaTrigger(trigger);
    c.deleteSwPaTrigger(trigger);
    c.getHwPaTriggerState(id);
    c.getPaSelectorState(id);
    TTSPendingInfo pending(id, "", "", 48000, std::to_string(id % 3), 0);
    c.addToTTSPreviewPendingList("preview " + std::to_string(id), pending);
    ScheduleDefinition schedule;
    schedule.Id = id;
    schedule.announcementType = AT_LIVE;
    schedule.paZones = {"Z"};
    c.createSchedule(schedule);
    c.deleteSchedule(id);
    // Past the router: withdrawn in the pause by another thread, emptied by a reconnection.
    pa::RecordList record({"past"});
    c.updateScheduleList(keys + 1, record.list());
    c.deleteAudioVideoControllerInfo(0, 18, keys + 1);
    if (round % 16 == 0) {
        schedule.Id = 0;
        EXPECT_THROW(c.createScheduleSync(schedule), std::invalid_argument) << "no time to wait";
    }
    if (round < 20) {
        c.registerObserver(new pa::PAControllerObserverAdapter);  // must outlive the controller
    }
    if (round % 16 == 1) {
        cachesOf(c);
        Message message;
        message.setAudioMessage("/nowhere", Message::L16_48K);
        message.playAnnouncement({"Z1"});
    }
}

TEST(StormTest, TheCachesAreThoseOfOneThread) {
    // These live as long as the process.
    static auto& audioServer = *new AudioServer(gPaController);
    static auto& observer = *new Nosy;
    static auto& sender = *new Sender;
    pa::setLogSink([](const pa::LogLine&) {});
    pa::TimeSource hurried = withoutPauses();
    hurried.wallClock = [] {  // a wait for the server is over after a few looks
        static std::atomic<std::time_t> looks{0};
        return ++looks / 8;
    };
    pa::setTimeSource(hurried);
    gAudioServerInstance = &audioServer;
    gLocalDstNo = server;
    gActiveAudioServerDstNo = server;
    gMaxServerWaitTimeSeconds = 1;
    gPaController.registerObserver(&observer);
    gPaController.initPaResources();
    gQXReceiver.connect(sender);
    palink::Router router(gPaController);
    const std::vector<Event> stream = makeStream(20'000, audioServer.getUUID());
    std::atomic<bool> over{false};
    std::atomic<int> rounds{0};
    std::vector<std::unique_ptr<pa::PosixThread>> threads;
    for (int i = 0; i < 8; ++i) {
        threads.push_back(std::make_unique<pa::PosixThread>("test", [&] {
            while (!over) {
                useController(rounds++);
            }
        }));
    }
    for (const Event& event : stream) {
        deliver(router, event);
    }
    router.waitUntilIdle();
    over = true;
    threads.clear();
    EXPECT_GT(rounds, 8);

    PAController& alone = *new PAController;  // its worker never ends
    palink::Router inTurn(alone);
    for (const Event& event : stream) {
        deliver(inTurn, event);
        inTurn.waitUntilIdle();
    }
    EXPECT_EQ(cachesOf(gPaController), cachesOf(alone));
    for (const std::string& cache : cachesOf(alone)) {
        EXPECT_NE(cache, "");
    }
    observer.active = false;
    gMaxServerWaitTimeSeconds = 10;
    gAudioServerInstance = nullptr;
    pa::setLogSink({});
    pa::setTimeSource({});
}

}  // namespace
