// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "include/common/RecordList.h"
#include "link/Transport.h"
#include "sdk/PAController.h"
#include "tests/support/caches.h"

/// @file
/// What a server reports in a storm, and what an application does: it sends requests all the time,
/// deletes inside callbacks and throws there.

namespace storm {

constexpr int serverNo = 1;
constexpr int keys = 40;
inline const palink::Connected connected{serverNo, serverNo, false, {}};

inline std::atomic<bool> rages{false};  // else the observer, which stays registered, does nothing

/// Calls back into the controller, as applications do, also inside the callbacks of deletions.
struct StormObserver : pa::PAControllerObserverAdapter {
    void onPaSourceUpdate(PaSource source) override {
        if (rages) {
            gPaController.registerObserver(this);
            gPaController.cancelMessage(source.label);
            throw std::runtime_error("not today");
        }
    }
    void onPaSourceDelete(int) override { remove(3, 0); }
    void onPaSinkUpdate(PaSink sink) override { remove(3, sink.id); }
    void onPaSinkDelete(int id) override {
        remove(2, id);
        if (rages && id == 1) {
            gPaController.initPaResources();
        }
    }
    static void remove(int kind, int key) {
        if (rages) {
            gPaController.deleteAudioVideoControllerInfo(0, kind, key);
        }
    }
};

/// The same events at each call. Every field is a small number, which suits every kind but for a
/// schedule's parts and a port's rate.
/// @param own the UUID of this client, which holds some of the locks
inline std::vector<palink::ServerEvent> makeStream(const std::string& own) {
    using pa::RecordKind;
    std::mt19937 random(20'000);
    const auto upTo = [&random](int n) { return static_cast<int>(random() % unsigned(n)) + 1; };
    const std::string holders[] = {"", own, "other-client"};
    std::vector<palink::ServerEvent> stream;
    for (int i = 0; i < 20'000; ++i) {
        const RecordKind kind = pa::recordKinds[upTo(std::size(pa::recordKinds)) - 1].kind;
        const int key = upTo(keys);
        const int dice = upTo(4000);
        if (dice == 1) {
            stream.insert(stream.end(), {connected, palink::InitialSetComplete{}});
        } else if (dice < 10) {
            stream.emplace_back(palink::Withdrawal{0, kind, 0});
        } else if (dice < 800) {
            stream.emplace_back(palink::Withdrawal{serverNo, kind, key});
        } else if (dice < 850) {
            stream.emplace_back(palink::LevelReading{key, -6.0});
        } else {
            pa::RecordFields fields(32);
            for (std::size_t place = 0; place < fields.size(); ++place) {
                fields.set(place, std::to_string(upTo(3)));
            }
            fields.set(0, std::to_string(key));
            if (kind == RecordKind::Source) {
                fields.set(9, holders[upTo(3) - 1]);
            } else if (kind == RecordKind::Schedule) {
                const std::string item(*fields[2]);
                fields.set(9, ("2,o,Z" + item).append(",1^").append(item).append("!3"));
                fields.set(10, std::nullopt);
            } else if (kind == RecordKind::TtsPort) {
                fields.set(2, "48000");
            }
            stream.emplace_back(palink::Record{serverNo, kind, key, std::move(fields)});
        }
    }
    return stream;
}

/// One round of what an application does.
inline void useController(int round) {
    PAController& c = gPaController;
    const int id = round % keys + 1;
    PaSource source = c.findPaSource(id).value_or(PaSource());
    source.attachPaZone("Z", PaSource::REPLACE_EXISTING_SET);
    static_cast<void>(source.getAttachedPaZones());
    static_cast<void>(c.attachPaSource(id));
    static_cast<void>(c.detachPaSource(id));
    c.enablePaSourceVUMeter(id);
    c.disablePaSourceVUMeter(id);
    const int trigger = c.createSwPaTrigger(id, 50);
    c.activateSwPaTrigger(trigger);
    c.deleteSwPaTrigger(trigger);
    static_cast<void>(c.findPaZone(id).value_or(PaZone()).getMembers());
    static_cast<void>(c.getPaSinksForSelector(id));

    // Past the router: withdrawn in the pause by another thread, emptied by a reconnection.
    pa::RecordList record({"past"});
    c.updateScheduleList(keys + 1, record.list());
    c.deleteAudioVideoControllerInfo(0, 18, keys + 1);
    c.deleteSchedule(id);

    Message message;
    message.setAudioMessage(std::vector<unsigned>{12, 40});
    c.playMessage({"Z"}, message);
    c.cancelMessage(message.getRequestID());
    const std::string word = std::to_string(id % 3 + 1);
    TTSPendingInfo pending(id, "", "", 48000, word, 0);
    c.addToTTSPreviewPendingList("preview " + word, pending);
    ScheduleDefinition schedule;
    schedule.announcementType = AT_LIVE;
    schedule.paZones = {"Z"};
    try {
        if (round % 16 == 0) {
            static_cast<void>(cachesOf(c, keys));
            message.setAudioMessage("/nowhere", Message::L16_48K);
            message.playAnnouncement({"Z1"});
            message.setAudioMessage("text", word, word, Message::UTF_8);
            static_cast<void>(message.retrieveAudioMessage());
        } else if (round % 16 == 1) {
            static_cast<void>(c.createScheduleSync(schedule));
        }
    } catch (const std::logic_error&) {
        // The voice has been withdrawn, or there is no time to wait.
    }
}

}  // namespace storm
