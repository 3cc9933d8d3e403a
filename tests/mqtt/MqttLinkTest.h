#pragma once

#include <string>

#include "link/mqtt/MqttTransport.h"
#include "tests/host/HostTest.h"
#include "tests/mqtt/BrokerProcess.h"
#include "tests/mqtt/ScriptedBrokerServer.h"

/// Writes events down, a line for each.
struct NotedEvents : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override {
        std::visit([this](const auto& what) { note(what); }, event);
    }

    void note(const palink::Connected& connected) {
        steps.add("connected " + std::to_string(connected.localDstNo) + ' ' +
                  std::to_string(connected.activeDstNo) + (connected.indirect ? " indirect" : "") +
                  ' ' + connected.serverInfo.get_value("name") + '\n');
        info = connected.serverInfo;
    }
    void note(const palink::Disconnected& disconnected) {
        steps.add("disconnected: " + disconnected.reason + '\n');
    }
    void note(const palink::Record& record) {
        if (onRecord) {
            onRecord(record);
            return;
        }
        steps.add("record " + std::to_string(record.dstNo) + ' ' + pa::nameOf(record.kind) + ' ' +
                  std::to_string(record.key) + ' ' + record.fields.at(0).value_or("null") + '\n');
    }
    void note(const palink::Withdrawal& withdrawal) {
        steps.add("withdrawal " + std::to_string(withdrawal.dstNo) + ' ' +
                  pa::nameOf(withdrawal.kind) + ' ' + std::to_string(withdrawal.key) + '\n');
    }
    void note(const palink::Refusal& refusal) {
        steps.add("refusal " + textOf(refusal.operation) + " >" + refusal.requestId +
                  "<: " + refusal.reason + '\n');
    }
    void note(const palink::LevelReading& reading) {
        steps.add("level " + std::to_string(reading.element) + ' ' +
                  std::to_string(static_cast<int>(reading.level)) + '\n');
    }
    void note(const palink::InitialSetComplete& /*complete*/) { steps.add("synced\n"); }
    void note(const palink::RoundTripComplete& complete) {
        steps.add("round trip " + std::to_string(complete.number) + '\n');
    }

    Transcript steps;
    KeyValueMap info;                                     // of the last connection
    std::function<void(const palink::Record&)> onRecord;  // in place of a line for each
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
    static void passUntil(Condition condition) {
        constexpr int factor = 20;
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
    palink::MqttTransport transport{broker.options(), "0f8fad5b-d9cb-469f-a165-70867728950e"};
};
