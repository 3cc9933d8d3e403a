// SPDX-License-Identifier: Apache-2.0
// The router with events in any order, against a second controller that handles one after the
// other, each to its end. The input has an event on each line; time passes unless it is held:
//   record KIND KEY TEXT    KIND a number, TEXT in each field but the first, which has the key
//   withdraw KIND KEY
//   reset
//   hold, pass
#include <atomic>
#include <sstream>
#include <thread>

#include "framework/clock.h"
#include "framework/eventQueue.h"
#include "framework/log.h"
#include "fuzz/Target.h"
#include "link/Router.h"
#include "sdk/globals.h"
#include "tests/recordingHost/NotingObserver.h"
#include "tests/support/caches.h"

namespace {

using pa::RecordKind;

constexpr int server = 1;
constexpr std::size_t fieldCount = 21;

std::atomic<std::int64_t> nowMS{1'000'000};
std::atomic<bool> timePasses{true};

void pause(int ms) {
    if (ms > 1000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));  // the controllers' workers
        return;
    }
    while (!timePasses) {
        std::this_thread::yield();
    }
    nowMS += ms;
}

/// Notes what happens to each resource: a + for an update, a - for a deletion.
struct CourseNotes : NotingObserver {
    void called(const std::string& kind, const std::string& id, const std::string& what) override {
        // Every text of a record ends with a full stop.
        courses[kind + " " + id] += !what.empty() && what.back() == 'd' ? '-' : '+';
    }
    std::map<std::string, std::string> courses;
};

/// A router with its controller, and what that has notified of and posted.
struct Side {
    explicit Side(PAController& itsController) : controller(itsController), router(controller) {
        controller.registerObserver(&notes);
    }

    /// As text: caches, notifications, number of events of each type and key.
    std::string state() {
        std::map<std::string, int> events;
        for (EventItem event; pa::eventQueue::next(event);) {
            ++events[std::to_string(event.type) + "/" + std::to_string(event.key)];
        }
        std::string text;
        for (const std::string& cache : cachesOf(controller, 0)) {
            text += cache;
        }
        for (const auto& [resource, course] : std::exchange(notes.courses, {})) {
            text.append(resource).append(" ").append(course).append("\n");
        }
        for (const auto& [event, count] : events) {
            text.append(event).append(" x ").append(std::to_string(count)).append("\n");
        }
        return text;
    }

    PAController& controller;
    palink::Router router;
    CourseNotes notes;
};

palink::Record recordOf(int kind, int key, const std::string& text) {
    std::vector<std::optional<std::string>> fields(fieldCount, text + ".");
    fields[0] = std::to_string(key);
    return {server, static_cast<RecordKind>(kind), key, fuzz::recordFields(fields)};
}

/// @param oneByOne whether each event is handled to its end before the next
void play(const std::string& input, palink::Router& router, bool oneByOne) {
    router.reset();
    for (const std::string& text : fuzz::pieces(input, '\n')) {
        std::istringstream line(text);
        std::string command;
        std::string rest;
        int kind = 0;
        int key = 0;
        line >> command;
        if (command == "hold" || command == "pass") {
            timePasses = oneByOne || command == "pass";
        } else if (command == "reset") {
            timePasses = true;  // it waits for all that is pending
            router.reset();
        } else if (line >> kind >> key && command == "record") {
            line.get();
            std::getline(line, rest);
            router.handle(recordOf(kind, key, rest));
        } else if (command == "withdraw") {
            timePasses = timePasses || key == 0 || kind == 0;  // as above
            router.handle(palink::Withdrawal{server, static_cast<RecordKind>(kind), key});
        }
        if (oneByOne) {
            router.waitUntilIdle();
        }
    }
    timePasses = true;
    const std::int64_t last = nowMS;
    router.waitUntilIdle();
    fuzz::require(nowMS <= last + PAController::notificationPauseMS, "nothing waits for longer");
}

}  // namespace

void fuzz::run(const std::string& input) {
    pa::setTimeSource({[] { return std::time_t{1000}; }, [] { return nowMS.load(); }, pause});
    pa::setLogSink([](const pa::LogLine&) {});
    pa::store(gLocalDstNo, server);
    pa::store(gActiveAudioServerDstNo, server);
    static Side& inSequence = *new Side(*new PAController);
    static Side& atOnce = *new Side(gPaController);
    const std::string events = input.substr(0, input.find('\0'));
    play(events, inSequence.router, true);
    const std::string expected = inSequence.state();
    play(events, atOnce.router, false);
    requireEqual(atOnce.state(), expected, "after all events");
}
