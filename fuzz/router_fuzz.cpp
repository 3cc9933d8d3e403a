// The router with events in any order, against a second controller that handles one after the
// other, each to its end. The input has an event on each line; time passes unless it is held:
//   record KIND KEY TEXT    KIND a number, TEXT in each field but the first, which has the key
//   withdraw KIND KEY
//   reset
//   hold, pass
#include <atomic>
#include <thread>

#include "client/recordText.h"
#include "framework/clock.h"
#include "framework/eventQueue.h"
#include "framework/log.h"
#include "fuzz/Target.h"
#include "fuzz/naiveTexts.h"
#include "link/Router.h"
#include "sdk/globals.h"
#include "tests/recordingHost/NotingObserver.h"

namespace {

using pa::RecordKind;

constexpr int server = 1;
constexpr std::size_t fieldCount = 21;

std::atomic<std::int64_t> nowMS{1'000'000};
std::atomic<bool> timePasses{true};
thread_local bool isSequential = false;  // pauses are over at once, and no time passes

void pause(int ms) {
    if (ms > 1000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));  // the controllers' workers
    } else if (!isSequential) {
        while (!timePasses) {
            std::this_thread::yield();
        }
        nowMS += ms;
    }
}

/// Notes what happens to each resource: a + for an update, a - for a deletion.
struct Notes : NotingObserver {
    void called(const std::string& kind, const std::string& id, const std::string& what) override {
        // Every text of a record ends with a full stop.
        courses[kind + " " + id] += !what.empty() && what.back() == 'd' ? '-' : '+';
    }
    std::map<std::string, std::string> courses;
};

/// A controller with what it has notified of and posted.
struct Side {
    explicit Side(PAController& itsController) : controller(itsController) {
        controller.registerObserver(&notes);
    }

    /// As text: caches, notifications, number of events of each type and key.
    std::string state() {
        std::map<std::string, int> events;
        for (EventItem event; pa::eventQueue::next(event);) {
            ++events[std::to_string(event.type) + "/" + std::to_string(event.key)];
        }
        std::vector<ScheduleDefinition> schedules = controller.listSchedules();
        std::vector<PaSourceLockStatus> locks = controller.getPaSourceLocks();
        // Records that wait for a withdrawal arrive later.
        std::sort(schedules.begin(), schedules.end(),
                  [](const auto& a, const auto& b) { return a.Id < b.Id; });
        std::sort(locks.begin(), locks.end(),
                  [](const auto& a, const auto& b) { return a.sourceId < b.sourceId; });
        using paclient::linesOf;
        std::string text =
            linesOf(controller.getPaSources()) + linesOf(locks) + linesOf(controller.getPaSinks()) +
            linesOf(controller.getHwPaTriggers()) + linesOf(controller.getPaSelectors()) +
            linesOf(controller.getPaZones()) + linesOf(controller.getAnnouncementRequests()) +
            linesOf(schedules) + linesOf(controller.getTTSVocalizerList()) +
            linesOf(controller.getTTSDictionaryList());
        for (const auto& [resource, course] : std::exchange(notes.courses, {})) {
            text += resource + " " + course + "\n";
        }
        for (const auto& [event, count] : events) {
            text += event + " x " + std::to_string(count) + "\n";
        }
        return text;
    }

    PAController& controller;
    Notes notes;
};

palink::Record recordOf(int kind, int key, const std::string& text) {
    std::vector<std::optional<std::string>> fields(fieldCount, text + ".");
    fields[0] = std::to_string(key);
    return {server, static_cast<RecordKind>(kind), key, fuzz::recordFields(fields)};
}

/// What the router does, without its threads.
struct Sequence {
    PAController& controller;

    void handle(const palink::Record& record) const {
        using C = PAController;
        const std::map<RecordKind, void (C::*)(int, TEVlist*)> handlers = {
            {RecordKind::Source, &C::addUpdatePaSource},
            {RecordKind::Sink, &C::addUpdatePaSink},
            {RecordKind::Trigger, &C::addUpdatePaTrigger},
            {RecordKind::Selector, &C::addUpdatePaSelector},
            {RecordKind::AttachedZones, &C::addUpdateAttachedPaZone},
            {RecordKind::Announcement, &C::addUpdateAnnouncementRequest},
            {RecordKind::Schedule, &C::updateScheduleList},
            {RecordKind::TtsPort, &C::updateFromTTS_Ports},
            {RecordKind::TtsDictionary, &C::updateFromTTS_Dictionary}};
        pa::RecordList list(record.fields);
        if (const auto handler = handlers.find(record.kind); handler != handlers.end()) {
            (controller.*handler->second)(record.key, list.list());
        } else if (record.kind == RecordKind::Zone) {
            controller.addUpdatePaZone(record.dstNo, record.key, list.list());
        }
    }
    void handle(const palink::Withdrawal& withdrawal) const {
        if (withdrawal.kind == RecordKind::TtsPort) {
            controller.deleteFromTTS_Ports(withdrawal.key);
        } else if (withdrawal.kind == RecordKind::TtsDictionary) {
            controller.deleteFromTTS_Dictionary(withdrawal.key);
        } else {
            controller.deleteAudioVideoControllerInfo(
                withdrawal.dstNo, static_cast<int>(withdrawal.kind), withdrawal.key);
        }
    }
    void reset() const { controller.initPaResources(); }
};

template <class Handling>
void play(const std::string& input, Handling& handling) {
    for (const std::string& text : fuzz::pieces(input, '\n')) {
        const fuzz::Line line = fuzz::lineOf(text, 3);
        const int kind = naive::number(line.words[1]);
        const int key = naive::number(line.words[2]);
        if (line.words[0] == "record") {
            handling.handle(recordOf(kind, key, line.rest));
        } else if (line.words[0] == "withdraw") {
            timePasses = timePasses || key == 0 || kind == 0;  // it waits for all that is pending
            handling.handle(palink::Withdrawal{server, static_cast<RecordKind>(kind), key});
        } else if (line.words[0] == "reset") {
            timePasses = true;
            handling.reset();
        } else if (line.words[0] == "hold" || line.words[0] == "pass") {
            timePasses = line.words[0] == "pass";
        }
    }
    timePasses = true;
}

}  // namespace

void fuzz::run(const std::string& input) {
    static Side& sequential = *new Side(*new PAController);
    static Side& routed = *new Side(gPaController);
    static palink::Router& router = *new palink::Router(gPaController);
    static const bool isReady = [] {
        pa::setTimeSource({[] { return std::time_t{1000}; }, [] { return nowMS.load(); }, pause});
        pa::setLogSink([](const pa::LogLine&) {});
        pa::store(gLocalDstNo, server);
        pa::store(gActiveAudioServerDstNo, server);
        return true;
    }();
    require(isReady, "ready");
    isSequential = true;
    Sequence sequence{sequential.controller};
    sequence.reset();
    sequential.state();
    play(input, sequence);
    const std::string expected = sequential.state();
    isSequential = false;

    router.reset();
    routed.state();
    play(input, router);
    const std::int64_t last = nowMS;
    router.waitUntilIdle();
    require(nowMS <= last + PAController::notificationPauseMS, "nothing waits longer than a pause");
    requireEqual(routed.state(), expected, "after all events");
}
