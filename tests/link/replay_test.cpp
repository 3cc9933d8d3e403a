// A long stream of records, withdrawals and reconnections while eight threads use the controller:
// the caches are in the end what the same stream gives one event after the other.
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "framework/log.h"
#include "framework/posixThread.h"
#include "link/Router.h"
#include "sdk/AudioServer.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

namespace {

using palink::Record;
using palink::RecordKind;
using palink::Withdrawal;

constexpr int server = 1;
constexpr int streamLength = 20'000;
constexpr int keys = 40;

struct Reconnection {};
using Event = std::variant<Record, Withdrawal, Reconnection>;

constexpr RecordKind kinds[] = {
    RecordKind::Source,        RecordKind::Sink,         RecordKind::Trigger, RecordKind::Selector,
    RecordKind::AttachedZones, RecordKind::Announcement, RecordKind::Zone,    RecordKind::TtsPort,
    RecordKind::TtsDictionary, RecordKind::Schedule,
};

/// The same events at each call. Every field is a small number, which suits every kind but for a
/// schedule's parts and a port's rate.
std::vector<Event> makeStream() {
    std::mt19937 random(20'000);
    const auto upTo = [&random](int n) { return static_cast<int>(random() % unsigned(n)) + 1; };
    std::vector<Event> stream;
    while (stream.size() < streamLength) {
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
            RecordFields fields(32);
            std::generate(fields.begin(), fields.end(), [&] { return std::to_string(upTo(3)); });
            fields[0] = std::to_string(key);
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

/// Does at once what the router does with its lanes.
struct Replay {
    PAController& controller;

    void operator()(const Record& record) const {
        RecordList list(record.fields);
        const int key = record.key;
        switch (record.kind) {
            case RecordKind::Source:
                return controller.addUpdatePaSource(key, list.list());
            case RecordKind::Sink:
                return controller.addUpdatePaSink(key, list.list());
            case RecordKind::Trigger:
                return controller.addUpdatePaTrigger(key, list.list());
            case RecordKind::Selector:
                return controller.addUpdatePaSelector(key, list.list());
            case RecordKind::AttachedZones:
                return controller.addUpdateAttachedPaZone(key, list.list());
            case RecordKind::Announcement:
                return controller.addUpdateAnnouncementRequest(key, list.list());
            case RecordKind::Zone:
                return controller.addUpdatePaZone(server, key, list.list());
            case RecordKind::Schedule:
                return controller.updateScheduleList(key, list.list());
            case RecordKind::TtsPort:
                return controller.updateFromTTS_Ports(key, list.list());
            case RecordKind::TtsDictionary:
                return controller.updateFromTTS_Dictionary(key, list.list());
        }
    }
    void operator()(const Withdrawal& w) const {
        if (w.kind == static_cast<int>(RecordKind::TtsPort)) {
            controller.deleteFromTTS_Ports(w.key);
        } else if (w.kind == static_cast<int>(RecordKind::TtsDictionary)) {
            controller.deleteFromTTS_Dictionary(w.key);
        } else {
            controller.deleteAudioVideoControllerInfo(w.dstNo, w.kind, w.key);
        }
    }
    void operator()(const Reconnection& /*unused*/) const { controller.initPaResources(); }
};

/// What the caches hold that records fill.
std::string cachesOf(PAController& c) {
    std::ostringstream out;
    for (const PaSource& s : c.getPaSources()) {
        out << "source " << s.id << s.location << s.label << s.type << s.inputGain << s.healthState
            << '\n';
    }
    for (const PaSourceLockStatus& lock : c.getPaSourceLocks()) {
        out << "lock " << lock.sourceId << ' ' << lock.lockedUUID << '\n';
    }
    for (const PaSink& s : c.getPaSinks()) {
        out << "sink " << s.id << s.location << s.type << s.state << s.mediaLog << '\n';
    }
    for (const PaTrigger& t : c.getHwPaTriggers()) {
        out << "trigger " << t.id << t.associatedSourceId << t.label << t.priority << t.state
            << '\n';
    }
    for (const PaSelector& s : c.getPaSelectors()) {
        out << "selector " << s.id << s.associatedSourceId << s.label << s.number << s.state
            << '\n';
    }
    for (int key = 1; key <= keys; ++key) {
        std::vector<std::string> attached;
        c.getAttachedPaZoneList(key, &attached);
        out << "attached " << key << ' ' << attached.size() << '\n';
    }
    for (const PaZone& z : c.getPaZones()) {
        out << "zone " << z.id << z.activity << z.activityText << z.health << '\n';
    }
    for (const AnnouncementRequest& a : c.getAnnouncementRequests()) {
        out << "request " << a.id << ' ' << a.getRequestID() << a.stateText << a.messageContent
            << '\n';
    }
    for (const ScheduleDefinition& s : c.listSchedules()) {
        out << "schedule " << s.Id << ' ' << s.descrption << s.startYear << s.dayMask
            << s.paZones.front() << s.dictionaryItems.back() << '\n';
    }
    for (const TTSVocalizer& v : c.getTTSVocalizerList()) {
        out << "voice " << v.portNo << v.language << v.voice << '\n';
    }
    for (const TTSDictionary& d : c.getTTSDictionaryList()) {
        out << "item " << d.key << ' ' << d.portNo << d.uuid << d.text << d.uri << '\n';
    }
    return out.str();
}

/// One round of what an application does, all of it.
void useController(int round) {
    PAController& c = gPaController;
    const int id = round % keys + 1;
    PaSource source;
    source.id = id;
    source.type = PaSource::ZENTRIQ_ANALOG_INPUT;
    source.setGain(-6, false, false);
    source.attachPaZone("Z", PaSource::REPLACE_EXISTING_SET);
    source.detachPaZone(source.getAttachedPaZones().empty() ? "none" : "Z");
    c.attachPaSource(id);
    c.detachPaSource(id);
    c.enablePaSourceVUMeter(id);
    c.disablePaSourceVUMeter(id);
    const int trigger = c.createSwPaTrigger(id, 50);
    c.activateSwPaTrigger(trigger);
    c.deactivateSwPaTrigger(trigger);
    c.deleteSwPaTrigger(trigger);
    c.getHwPaTriggers(id);
    c.getHwPaTriggerState(id);
    c.getPaSelectors(id);
    c.getPaSelectorState(id);
    c.enablePaSelector(id);
    TTSPendingInfo pending(id, "", "", 48000, std::to_string(id % 3), 0);
    c.addToTTSPreviewPendingList("preview " + std::to_string(id), pending);
    c.startUserRecording("/r");
    ScheduleDefinition schedule;
    schedule.Id = id;
    schedule.announcementType = AT_LIVE;
    schedule.paZones = {"Z"};
    c.createSchedule(schedule);
    c.deleteSchedule(id);
    if (round % 16 == 0) {
        schedule.Id = 0;
        EXPECT_THROW(c.createScheduleSync(schedule), std::invalid_argument) << "no time to wait";
    }
    c.cancelMessage(Message::TTS);
    if (round % 4 == 0) {
        cachesOf(c);
    }
}

struct Nosy : PAControllerObserverAdapter {
    void onPaTriggerUpdate(PaTrigger trigger) override {
        gPaController.getHwPaTriggerState(trigger.id);
    }
    void onPaSourceDelete(int id) override { gPaController.getPaSelectors(id); }
};

class Swallow : public OperationSender {
public:
    Swallow() { gQXReceiver.connect(*this); }
    ~Swallow() override { gQXReceiver.disconnect(); }
    bool sendOperation(const Operation& /*operation*/) override { return true; }
};

TEST(ReplayTest, TheCachesAreThoseOfOneThread) {
    constexpr int threadCount = 8;
    static auto& audioServer = *new AudioServer(gPaController);
    static auto& nosy = *new Nosy;  // must outlive the controller
    setLogSink([](const LogLine&) {});
    skipPauses();
    gAudioServerInstance = &audioServer;
    gLocalDstNo = server;
    gActiveAudioServerDstNo = server;
    gMaxServerWaitTimeSeconds = 0;
    gPaController.registerObserver(&nosy);
    gPaController.initPaResources();
    const std::vector<Event> stream = makeStream();
    Swallow swallow;
    {
        palink::Router router(gPaController);
        std::atomic<bool> over{false};
        std::atomic<int> rounds{0};
        std::vector<std::unique_ptr<PosixThread>> threads;
        for (int i = 0; i < threadCount; ++i) {
            threads.push_back(std::make_unique<PosixThread>("test", [&] {
                while (!over) {
                    useController(rounds++);
                }
            }));
        }
        for (const Event& event : stream) {
            if (const auto* const record = std::get_if<Record>(&event)) {
                router.handle(*record);
            } else if (const auto* const withdrawal = std::get_if<Withdrawal>(&event)) {
                router.handle(*withdrawal);
            } else {
                router.reset();
            }
        }
        router.waitUntilIdle();
        over = true;
        threads.clear();
        EXPECT_GT(rounds, threadCount);
    }
    PAController& alone = *new PAController;  // its worker never ends
    for (const Event& event : stream) {
        std::visit(Replay{alone}, event);
    }
    EXPECT_EQ(cachesOf(gPaController), cachesOf(alone));
    for (const char* const kind : {"source ", "lock ", "sink ", "trigger ", "selector ", "zone ",
                                   "request ", "schedule ", "voice ", "item "}) {
        EXPECT_NE(cachesOf(alone).find(kind), std::string::npos) << kind;
    }

    gPaController.initPaResources();
    gMaxServerWaitTimeSeconds = 10;
    gAudioServerInstance = nullptr;
    setLogSink({});
    setTimeSource({});
}

}  // namespace
