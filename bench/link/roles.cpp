// SPDX-License-Identifier: Apache-2.0
#include "bench/link/roles.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "bench/link/PlainClient.h"
#include "bench/processStatus.h"
#include "link/ServerLink.h"
#include "link/mqtt/MqttTransport.h"
#include "link/mqtt/topics.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

using Times = std::vector<std::int64_t>;

constexpr std::chrono::minutes longestWait{1};

std::int64_t nowNS() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// Prints "prepared" and waits for a line.
void waitForStart() {
    std::cout << "prepared" << std::endl;
    std::cin.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

void print(const char* what, const Times& times) {
    std::cout << what;
    for (const std::int64_t time : times) {
        std::cout << ' ' << time;
    }
    std::cout << std::endl;
}

/// What is printed of a receiver that is synced.
/// @param processorAtStart of the connection
Times syncedNow(std::int64_t processorAtStart) {
    return {nowNS(), processorNS() - processorAtStart, statusNumber("self", "RssAnon")};
}

void waitForEndOfInput() {
    std::cin.ignore(std::numeric_limits<std::streamsize>::max(), EOF);
}

// ------------------------------------------------------------------------------- who publishes

void runStation(int port, int records) {
    const StationSet station = stationSet(records);
    waitForStart();
    PlainClient client(port);
    for (const PublishedRecord& record : station.records) {
        client.publish(record);
    }
    client.publish(station.status);
    client.flush();
}

void runPublisher(int port, int records, int changes, std::chrono::microseconds interval) {
    std::vector<PublishedRecord> messages;
    messages.reserve(static_cast<std::size_t>(changes));
    for (int i = 0; i < changes; ++i) {
        messages.push_back(change(i, records));
    }
    Times sent;
    sent.reserve(messages.size());
    PlainClient client(port);
    waitForStart();
    auto next = std::chrono::steady_clock::now();
    for (const PublishedRecord& message : messages) {
        if (interval.count() > 0) {
            std::this_thread::sleep_until(next);
            next += interval;
        }
        sent.push_back(nowNS());
        client.publish(message);
    }
    client.flush();
    print("sent", sent);
}

// ------------------------------------------------------------------------------- who receives

void runPlain(int port, int records, int changes) {
    Times received;
    received.reserve(static_cast<std::size_t>(changes));
    waitForStart();
    const std::int64_t atStart = processorNS();
    PlainClient client(port);
    int retained = 0;
    client.subscribe(palink::topics::recordsOf(stationDstNo),
                     [&](const mosquitto_message& message) {
                         if (message.retain) {
                             ++retained;
                         } else {
                             received.push_back(nowNS());
                         }
                     });
    client.runUntil([&] { return retained == records; });
    print("synced", syncedNow(atStart));
    const std::int64_t before = processorNS();
    client.runUntil([&] { return received.size() == static_cast<std::size_t>(changes); });
    const std::int64_t after = processorNS();
    print("received", received);
    print("spent", {after - before});
}

/// Notes when it is called for a sink, from `begin` on.
class SinkObserver final : public pa::PAControllerObserverAdapter {
public:
    explicit SinkObserver(int changes)
        : changes_(static_cast<std::size_t>(changes)), isComplete_(changes == 0) {
        received_.reserve(changes_);
    }

    void begin() { hasBegun_ = true; }

    void onPaSinkUpdate(PaSink /*sink*/) override {
        if (!hasBegun_ || received_.size() == changes_) {
            return;
        }
        received_.push_back(nowNS());
        if (received_.size() == changes_) {
            const std::lock_guard guard(lock_);
            isComplete_ = true;
            completed_.notify_all();
        }
    }

    /// What has been noted, when it is complete.
    const Times& wait() {
        std::unique_lock guard(lock_);
        if (!completed_.wait_for(guard, longestWait, [this] { return isComplete_; })) {
            throw std::runtime_error("changes are missing");
        }
        return received_;
    }

private:
    const std::size_t changes_;
    std::atomic<bool> hasBegun_{false};
    Times received_;  // of the thread that observes, until it is complete
    std::mutex lock_;
    std::condition_variable completed_;
    bool isComplete_;  // guarded by lock_
};

/// @throws std::runtime_error unless the caches have every record of the station
void requireEverything(int records) {
    using pa::RecordKind;
    const PAController& controller = gPaController;
    std::size_t attached = 0;
    for (int source = 1; source <= countOf(RecordKind::Source, records); ++source) {
        std::vector<std::string> zones;
        controller.getAttachedPaZoneList(source, &zones);
        attached += zones.empty() ? 0 : 1;
    }
    const std::pair<RecordKind, std::size_t> cached[] = {
        {RecordKind::Source, controller.getPaSources().size()},
        {RecordKind::Sink, controller.getPaSinks().size()},
        {RecordKind::Trigger, controller.getHwPaTriggers().size()},
        {RecordKind::Selector, controller.getPaSelectors().size()},
        {RecordKind::AttachedZones, attached},
        {RecordKind::Schedule, controller.listSchedules().size()},
        {RecordKind::Zone, controller.getPaZones().size()},
    };
    for (const auto& [kind, count] : cached) {
        if (count != static_cast<std::size_t>(countOf(kind, records))) {
            throw std::runtime_error(std::string("records are missing in the cache: ") +
                                     pa::nameOf(kind));
        }
    }
}

/// The objects are never destroyed: the process ends without it.
void runClient(int port, int records, int changes) {
    gDeviceIPAddress = "127.0.0.1";
    auto& observer = *new SinkObserver(changes);
    gPaController.registerObserver(&observer);
    auto& audioServer = *new AudioServer(gPaController);
    palink::BrokerOptions broker;
    broker.host = "127.0.0.1";
    broker.port = port;
    auto& transport = *new palink::MqttTransport(broker, audioServer.getUUID());
    auto& link = *new palink::ServerLink(audioServer, transport);
    waitForStart();
    const std::int64_t atStart = processorNS();
    link.start();
    if (!link.waitUntilReady(longestWait)) {
        throw std::runtime_error("not synced");
    }
    const Times synced = syncedNow(atStart);
    requireEverything(records);
    observer.begin();
    print("synced", synced);
    const std::int64_t before = processorNS();
    const Times& received = observer.wait();
    const std::int64_t after = processorNS();
    print("received", received);
    print("spent", {after - before});
}

void run(const std::vector<std::string>& words) {
    const std::string& role = words.at(0);
    const auto number = [&](std::size_t i) { return std::stoi(words.at(i)); };
    if (role == stationRole) {
        runStation(number(1), number(2));
    } else if (role == publisherRole) {
        runPublisher(number(1), number(2), number(3), std::chrono::microseconds(number(4)));
    } else if (role == plainRole) {
        runPlain(number(1), number(2), number(3));
    } else {
        if (role == clientWithoutPausesRole) {
            skipPauses();
        }
        runClient(number(1), number(2), number(3));
    }
}

}  // namespace

int runRole(const std::vector<std::string>& words) try {
    run(words);
    waitForEndOfInput();
    std::_Exit(0);
} catch (const std::exception& e) {
    std::cerr << "broker_link_bench: " << e.what() << std::endl;
    std::_Exit(1);
}

}  // namespace bench
