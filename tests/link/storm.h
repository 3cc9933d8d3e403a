#pragma once

#include <algorithm>
#include <atomic>
#include <ctime>
#include <iterator>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "client/recordText.h"
#include "framework/clock.h"
#include "framework/log.h"
#include "link/Router.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

/// @file
/// Everything at once, for the sanitizers: what a server reports, and what an application does.

namespace storm {

using pa::RecordKind;
using palink::Record;
using palink::Withdrawal;

constexpr int server = 1;
constexpr int keys = 40;

// Whether the observers below do what they do: they stay registered.
inline std::atomic<bool> throws{false};
inline std::atomic<bool> deletes{false};

/// Calls back into the controller, as applications do, and throws now and then.
struct ReentrantObserver : pa::PAControllerObserverAdapter {
    void onPaSourceUpdate(PaSource source) override {
        if (throws) {
            static_cast<void>(gPaController.getPaSinks());
            gPaController.registerObserver(this);
            gPaController.cancelMessage(source.label);
            throw std::runtime_error("not today");
        }
    }
    void onPaSourceDelete(int id) override { static_cast<void>(gPaController.getPaSelectors(id)); }
};

/// Deletes inside callbacks, also inside those of deletions, and waits where it cannot.
struct Deleting : pa::PAControllerObserverAdapter {
    void onPaSinkUpdate(PaSink sink) override {
        if (deletes) {
            gPaController.deleteAudioVideoControllerInfo(0, 3, sink.id);
            static_cast<void>(gPaController.attachPaSource(sink.id));
        }
    }
    void onPaSinkDelete(int id) override {
        if (deletes) {
            gPaController.deleteAudioVideoControllerInfo(0, 2, id);
            if (id == 1) {
                gPaController.initPaResources();
            }
        }
    }
    void onPaSourceDelete(int) override {
        if (deletes) {
            gPaController.deleteAudioVideoControllerInfo(0, 3, 0);
        }
    }
};

/// Begins: no log, hurried time. Waits for the server are over after a few looks, and pauses at
/// once.
inline void begin() {
    pa::setLogSink([](const pa::LogLine&) {});
    pa::TimeSource source = withoutPauses();
    source.wallClock = [] {
        static std::atomic<std::time_t> looks{0};
        return ++looks / 8;
    };
    pa::setTimeSource(source);
    pa::store(gMaxServerWaitTimeSeconds, 1);
    throws = true;
}

/// Leaves the host as it was.
inline void end() {
    throws = false;
    deletes = false;
    pa::store(gMaxServerWaitTimeSeconds, 10);
    pa::store(gAudioServerInstance, nullptr);
    pa::setLogSink({});
    pa::setTimeSource({});
}

struct Reconnection {};
using Event = std::variant<Record, Withdrawal, Reconnection>;

/// The same events at each call. Every field is a small number, which suits every kind but for a
/// schedule's parts and a port's rate.
/// @param own the UUID of this client, which holds some of the locks
inline std::vector<Event> makeStream(std::size_t length, const std::string& own) {
    std::mt19937 random(20'000);
    const auto upTo = [&random](int n) { return static_cast<int>(random() % unsigned(n)) + 1; };
    std::vector<Event> stream;
    while (stream.size() < length) {
        const RecordKind kind = pa::recordKinds[upTo(std::size(pa::recordKinds)) - 1].kind;
        const int key = upTo(keys);
        const int dice = upTo(4000);
        if (dice == 1) {
            stream.emplace_back(Reconnection{});
        } else if (dice < 10) {
            stream.emplace_back(Withdrawal{0, kind, 0});
        } else if (dice < 800) {
            stream.emplace_back(Withdrawal{server, kind, key});
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

inline void deliver(palink::Router& router, const Event& event) {
    if (const auto* const record = std::get_if<Record>(&event)) {
        router.handle(*record);
    } else if (const auto* const withdrawal = std::get_if<Withdrawal>(&event)) {
        router.handle(*withdrawal);
    } else {
        router.reset();
    }
}

/// The lines of a list in sorted order: what arrives after a withdrawal that waits takes its place
/// in the order of arrival when it is handled.
template <class Record>
std::string sortedList(const std::vector<Record>& records) {
    std::vector<std::string> lines;
    for (const Record& record : records) {
        lines.push_back(paclient::lineOf(record) + "\n");
    }
    std::sort(lines.begin(), lines.end());
    return std::accumulate(lines.begin(), lines.end(), std::string());
}

/// Everything that records fill, one cache after the other.
inline std::vector<std::string> cachesOf(PAController& c) {
    std::string attached;
    for (int key = 1; key <= keys; ++key) {
        std::vector<std::string> zones;
        c.getAttachedPaZoneList(key, &zones);
        attached += paclient::valueText(zones);
    }
    return {attached,
            paclient::linesOf(c.getPaSources()),
            sortedList(c.getPaSourceLocks()),
            paclient::linesOf(c.getPaSinks()),
            paclient::linesOf(c.getHwPaTriggers()),
            paclient::linesOf(c.getPaSelectors()),
            paclient::linesOf(c.getPaZones()),
            paclient::linesOf(c.getAnnouncementRequests()),
            sortedList(c.listSchedules()),
            paclient::linesOf(c.getTTSVocalizerList()),
            paclient::linesOf(c.getTTSDictionaryList())};
}

/// What the application asks of each resource that it knows.
inline void useResources(PAController& c, int id) {
    for (const PaSink& sink : {PaSink(), c.findPaSink(id).value_or(PaSink())}) {
        PaSink known = sink;
        known.id = id;
        known.type = PaSink::LINE_LEVEL_AUDIO_OUTPUT;
        known.setGain(-6.0, true, false);
        known.setPAMonitoring(true);
        known.type = PaSink::ZENTRIQ_KPL2;
        known.reset();
    }
    PaSource source = c.findPaSource(id).value_or(PaSource());
    source.type = PaSource::ZENTRIQ_ANALOG_INPUT;
    source.setGain(-6.0, true, false);
    source.attachPaZone("Z", PaSource::REPLACE_EXISTING_SET);
    source.detachPaZone("Z");
    static_cast<void>(source.getAttachedPaZones());
    static_cast<void>(c.findPaZone(id).value_or(PaZone()).getMembers());
    static_cast<void>(c.findHwPaTrigger(id));
    static_cast<void>(c.findPaSelector(id));
    static_cast<void>(c.findAnnouncementRequest(id));
    static_cast<void>(c.findSchedule(id));
    static_cast<void>(c.getPaSinksForSelector(id));
}

inline void playAndRecord(PAController& c, int id) {
    Message played;
    played.setAudioMessage(std::vector<unsigned>{12, 40});
    c.playMessage({"Z"}, played);
    c.playMessage({"Z"}, {"D"}, Gain(-6.0), {12}, "text", PlayMessageParams());
    c.cancelMessage(0U);
    c.cancelMessage(played.getRequestID());
    c.cancelMessage(Message::TTS);
    try {
        Message spoken;
        spoken.setAudioMessage("text", std::to_string(id % 3 + 1), std::to_string(id % 3 + 1),
                               Message::UTF_8);
        static_cast<void>(spoken.retrieveAudioMessage());
    } catch (const std::out_of_range&) {
        // The voice has been withdrawn.
    }
    c.startUserRecording("/r");
    c.stopUserRecording();
    c.previewUserRecording("/r");
    c.deleteUserRecording("/r");
}

/// One round of what an application does, all of it.
inline void useController(int round) {
    PAController& c = gPaController;
    const int id = round % keys + 1;
    static_cast<void>(c.attachPaSource(id));
    static_cast<void>(c.detachPaSource(id));
    c.enablePaSourceVUMeter(id);
    c.disablePaSourceVUMeter(id);
    const int trigger = c.createSwPaTrigger(id, 50);
    c.activateSwPaTrigger(trigger);
    c.deactivateSwPaTrigger(trigger);
    c.deleteSwPaTrigger(trigger);
    static_cast<void>(c.getHwPaTriggerState(id));
    static_cast<void>(c.getPaSelectorState(id));
    TTSPendingInfo pending(id, "", "", 48000, std::to_string(id % 3), 0);
    c.addToTTSPreviewPendingList("preview " + std::to_string(id), pending);
    ScheduleDefinition schedule;
    schedule.Id = id;
    schedule.announcementType = AT_LIVE;
    schedule.paZones = {"Z"};
    c.createSchedule(schedule);
    c.deleteSchedule(id);
    useResources(c, id);
    playAndRecord(c, id);
    // Past the router: withdrawn in the pause by another thread, emptied by a reconnection.
    pa::RecordList record({"past"});
    c.updateScheduleList(keys + 1, record.list());
    c.deleteAudioVideoControllerInfo(0, 18, keys + 1);
    if (round % 16 == 0) {
        schedule.Id = 0;
        try {
            static_cast<void>(c.createScheduleSync(schedule));
        } catch (const std::invalid_argument&) {
            // There is no time to wait.
        }
    }
    if (round < 20) {
        c.registerObserver(new pa::PAControllerObserverAdapter);  // must outlive the controller
    }
    if (round % 16 == 1) {
        static_cast<void>(cachesOf(c));
        Message message;
        message.setAudioMessage("/nowhere", Message::L16_48K);
        message.playAnnouncement({"Z1"});
    }
}

}  // namespace storm
