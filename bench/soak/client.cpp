// SPDX-License-Identifier: Apache-2.0
/// soak_client URL NUMBER: a client of script/soak. Asks for an operation each second on each of
/// five threads, and writes what is reported to it of each.
///
/// It reads "run", "pause", "state" and "quit", and writes lines with tabs between: "ready",
/// "begin" and "end" of operations, "connection" for each change of it, "paused" when no operation
/// is left, "state" with what is in the caches. Times are those of the monotonic clock, in ms.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "bench/soak/Gate.h"
#include "bench/soak/print.h"
#include "client/Announcement.h"
#include "client/Connection.h"
#include "client/confirmedOperations.h"
#include "client/json.h"
#include "client/resources.h"
#include "client/schedules.h"
#include "framework/clock.h"
#include "framework/shared.h"
#include "paserver/RemoteEndpoint.h"
#include "sdk/globals.h"

namespace {

using namespace std::chrono_literals;
using paclient::Confirmation;

constexpr int threads = 5;
constexpr int allThreads = 20;  // of four clients
constexpr std::chrono::seconds period{1};
const paclient::Wait wait{15s};

std::string now() {
    return std::to_string(pa::monotonicMS());
}

const char* nameOf(Confirmation::State state) {
    switch (state) {
        case Confirmation::State::Done:
            return "done";
        case Confirmation::State::AsBefore:
            return "asBefore";
        case Confirmation::State::Refused:
            return "refused";
        case Confirmation::State::NotSent:
            return "notSent";
        case Confirmation::State::ConnectionLost:
            return "lost";
        case Confirmation::State::TimedOut:
            break;
    }
    return "timedOut";
}

/// One thread: a zone, a sink and schedules of its own, so that no other changes what it waits for.
class Worker {
public:
    Worker(int client, int thread, paclient::Connection& connection)
        : place_(client * threads + thread),
          name_("soak-" + std::to_string(client) + '-' + std::to_string(thread) + '-'),
          connection_(connection) {}

    void run(Gate& gate) {
        auto next = std::chrono::steady_clock::now() + period * place_ / allThreads;
        for (count_ = 0; gate.enter(next); ++count_) {
            next = std::max(next + period, std::chrono::steady_clock::now());
            try {
                operate();
            } catch (const paclient::NotConnected&) {
                // The next one tries again.
            }
            gate.leave();
        }
    }

private:
    void operate() {
        switch ((count_ + place_) % 5) {
            case 0:
            case 2:
                setGain();
                break;
            case 4:
                changeSchedules();
                break;
            default:
                play();
        }
    }

    std::string newName() const { return name_ + std::to_string(count_); }

    /// Each gain is set once in the whole run.
    void setGain() {
        constexpr double highest = -20;
        constexpr double step = 1e-4;
        constexpr int sinksOfZone = 12;
        const double level = highest - step * (count_ * allThreads + place_);
        PaSink sink;
        sink.id = 1 + place_ * sinksOfZone;
        sink.type = PaSink::HIGH_IMPEDANCE_SPEAKER_BUS;
        char text[32];
        std::snprintf(text, sizeof(text), "gain %.4f", level);
        report(text, [&] { return paclient::setGain(sink, level, false, false, wait); });
    }

    /// Some are refused: there is no such zone.
    void play() {
        constexpr int refusedPeriod = 20;
        Message message;
        message.setRequestID(newName());
        message.setAudioMessage({1});
        const std::string zone =
            count_ % refusedPeriod == 1 ? "Nowhere" : "Zone " + std::to_string(place_ + 1);
        report("play " + newName(), [&]() -> Confirmation {
            paclient::Announcement announcement({zone}, message);
            using State = paclient::Announcement::State;
            switch (announcement.wait(wait)) {
                case State::Finished:
                    return {Confirmation::State::Done};
                case State::Refused:
                    return {Confirmation::State::Refused, announcement.reason()};
                case State::Unknown:
                    return {Confirmation::State::ConnectionLost, announcement.reason()};
                case State::Failed:
                    return {Confirmation::State::NotSent, announcement.reason()};
                default:
                    return {Confirmation::State::TimedOut, announcement.reason()};
            }
        });
    }

    /// Keeps a few, whose names are used once in the whole run.
    void changeSchedules() {
        constexpr std::size_t kept = 3;
        connection_.requireConnected();  // the numbers are those of one server
        std::vector<paclient::ScheduleEntry> own;
        const std::vector<paclient::ScheduleEntry> all = paclient::allSchedules();
        for (const paclient::ScheduleEntry& entry : all) {
            // A new schedule takes the highest number as soon as it is free: no removal is seen.
            if (entry.descrption.rfind(name_, 0) == 0 && entry.Id != all.back().Id) {
                own.push_back(entry);
            }
        }
        if (own.size() >= kept) {
            const paclient::ScheduleEntry& oldest = own[static_cast<std::size_t>(count_) % kept];
            report("remove " + oldest.descrption + ' ' + std::to_string(count_),
                   [&] { return paclient::removeSchedule(oldest.Id, wait); });
            return;
        }
        ScheduleDefinition schedule;
        schedule.descrption = newName();
        schedule.startYear = schedule.endYear = 2099;
        schedule.startMonth = schedule.endMonth = 1;
        schedule.startDay = schedule.endDay = 1;
        schedule.endHour = 1;
        schedule.dayMask = 1;
        schedule.paZones = {"Zone 1"};
        schedule.announcementType = AT_TEV;
        schedule.dictionaryItems = {1};
        report("create " + newName(),
               [&] { return paclient::createSchedule(schedule, wait).confirmation; });
    }

    template <class Operate>
    void report(const std::string& what, Operate operate) {
        print({"begin", what, now(), std::to_string(connection_.number())});
        Confirmation confirmation;
        try {
            confirmation = operate();
        } catch (const std::exception& error) {
            confirmation = {Confirmation::State::NotSent, error.what()};
        }
        print({"end", what, now(), std::to_string(connection_.number()), nameOf(confirmation.state),
               confirmation.reason});
    }

    const int place_;  // among all threads of all clients
    const std::string name_;
    paclient::Connection& connection_;
    int count_ = 0;
};

/// What is in the caches when everything has been delivered.
void printState(paclient::Connection& connection, std::uint64_t changes) {
    connection.requireConnected(wait);
    connection.waitUntilDelivered(wait);
    constexpr auto none = paclient::JsonTexts::None;
    paclient::Json state;
    state["active"] = pa::load(gActiveAudioServerDstNo);
    state["changes"] = changes;
    state["fetchedAgain"] = connection.endpoint().report()->fetchedAgain;
    state["sinks"] = toJson(paclient::allSinks(), none);
    state["sources"] = toJson(paclient::allSources(), none);
    state["zones"] = toJson(paclient::allZones(), none);
    state["schedules"] = toJson(paclient::allSchedules(), none);
    state["announcements"] = toJson(paclient::allAnnouncements(), none);
    print({"state", state.dump()});
}

const char* nameOf(palink::ConnectionChange::State state) {
    using State = palink::ConnectionChange::State;
    return state == State::Connected ? "connected"
           : state == State::Synced  ? "synced"
                                     : "disconnected";
}

void work(const std::string& url, int number) {
    std::atomic<std::uint64_t> changes{0};
    const paclient::Listener counter(paclient::allKinds(), [&](const paclient::ChangePtr& change) {
        if (const auto* const link = std::get_if<palink::ConnectionChange>(change.get())) {
            print({"connection", nameOf(link->state), now(), link->reason});
        } else if (!std::holds_alternative<paclient::SentOperation>(*change)) {
            ++changes;
        }
    });
    paserver::RemoteEndpoint endpoint(palink::parseBrokerUrl(url),
                                      paclient::audioServer().getUUID());
    paclient::Connection connection(endpoint);
    connection.open({30s});
    Gate gate;
    std::vector<std::thread> workers;
    workers.reserve(threads);
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&, i] { Worker(number, i, connection).run(gate); });
    }
    print({"ready"});
    for (std::string command; command != "quit" && std::getline(std::cin, command);) {
        gate.open(command == "run");
        if (command == "pause") {
            gate.waitUntilQuiet();
            print({"paused"});
        } else if (command == "state") {
            printState(connection, changes);
        }
    }
    gate.end();
    std::for_each(workers.begin(), workers.end(), [](std::thread& worker) { worker.join(); });
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        throw std::invalid_argument("soak_client URL NUMBER");
    }
    work(argv[1], std::atoi(argv[2]));
} catch (const std::exception& error) {
    std::cerr << "soak_client: " << error.what() << '\n';
    return 1;
}
