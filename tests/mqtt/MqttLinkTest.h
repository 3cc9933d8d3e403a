// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "link/mqtt/MqttTransport.h"
#include "tests/host/HostTest.h"
#include "tests/mqtt/BrokerProcess.h"
#include "tests/mqtt/ScriptedBrokerServer.h"

/// Writes events down, a line for each.
struct NotedEvents : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override {
        steps.add(std::visit([this](const auto& what) { return this->noted(what); }, event) + '\n');
    }

    std::string noted(const palink::Connected& connected) {
        info = connected.serverInfo;
        return "connected " + std::to_string(connected.localDstNo) + ' ' +
               std::to_string(connected.activeDstNo) + ' ' + info.get_value("name");
    }
    static std::string noted(const palink::Disconnected& disconnected) {
        return "disconnected: " + disconnected.reason;
    }
    static std::string noted(const palink::Record& record) {
        return "record " + std::to_string(record.dstNo) + ' ' + pa::nameOf(record.kind) + ' ' +
               std::to_string(record.key) + ' ' + std::string(record.fields.at(0).value_or("null"));
    }
    static std::string noted(const palink::Withdrawal& withdrawal) {
        return "withdrawal " + std::to_string(withdrawal.dstNo) + ' ' +
               pa::nameOf(withdrawal.kind) + ' ' + std::to_string(withdrawal.key);
    }
    static std::string noted(const palink::Refusal& refusal) {
        return "refusal " + textOf(refusal.operation) + " >" + refusal.requestId +
               "<: " + refusal.reason;
    }
    static std::string noted(const palink::LevelReading& reading) {
        return "level " + std::to_string(reading.element) + ' ' +
               std::to_string(static_cast<int>(reading.level));
    }
    static std::string noted(const palink::InitialSetComplete& /*complete*/) { return "synced"; }
    static std::string noted(const palink::RoundTripComplete& complete) {
        return "round trip " + std::to_string(complete.number);
    }

    Transcript steps;
    KeyValueMap info;  // of the last connection
};

/// A broker, and a client of it. Time passes only where the test lets it.
struct MqttLinkTest : HostTest {
    ~MqttLinkTest() override { transport.stop(); }

    /// Server 1 with one zone.
    void startServer() {
        server.put(pa::RecordKind::Zone, 1, {"Z"});
        server.publishStatus();
        transport.start(events);
        events.steps.waitFor("synced\n");
        events.steps.take();
    }

    static pa::Operation cancel(const std::string& id) {
        return {-1, pa::operations::cancelMessage, 1, '"' + id + '"'};
    }

    /// Lets time pass, faster than it does, until the condition holds; for half a minute at most.
    template <class Condition>
    static void passUntil(Condition condition, int factor = 20) {
        for (int i = 0; i < 30'000 && !condition(); ++i) {
            nowMS += factor;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_TRUE(condition());
    }

    /// Waits until what the transport has sent so far has been answered or acknowledged.
    void settle() {
        const std::string number = std::to_string(++roundTrips);
        EXPECT_TRUE(transport.requestRoundTrip(roundTrips));
        events.steps.waitFor("round trip " + number + '\n');
    }

    std::uint64_t roundTrips = 1000;
    BrokerProcess broker;
    ScriptedBrokerServer server{broker.options(), 1};
    NotedEvents events;
    const std::string uuid = "0f8fad5b-d9cb-469f-a165-70867728950e";
    palink::MqttTransport transport{broker.options(), uuid};
};
