#pragma once

#include <map>
#include <utility>

#include "framework/clock.h"
#include "simserver/SimServer.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"
#include "tests/simserver/stations.h"
#include "tests/simserver/tables.h"

/// @file
/// Replays transcripts: what is asked of a simulated server and what its client receives.

namespace simserver {

using pa::RecordKind;

/// Writes each event as the name of its kind, its key and, of records, some fields that can change.
/// A name and a key that repeat are left out, and so is the id of an announcement that has begun.
class TestClient : public palink::ServerEventSink {
public:
    void deliver(palink::ServerEvent event) override {
        std::visit([this](const auto& each) { write(each); }, event);
    }

    std::map<std::pair<RecordKind, int>, pa::RecordFields> last;  // records

    /// The events since the last call.
    std::string events() {
        kind_.clear();
        return std::exchange(text_, {});
    }

    void write(const std::string& kind, const std::string& key, const std::string& text) {
        if (kind != kind_) {
            text_ += (text_.empty() ? "" : " / ") + kind + ": " + key;
        } else if (key != key_) {
            text_ += ", " + key;
        }
        text_ += text;
        kind_ = kind;
        key_ = key;
    }

private:
    struct Row {
        const char* name;
        std::vector<std::size_t> places;  // of the fields
    };
    static const Row& rowOf(RecordKind kind) {
        static const std::map<RecordKind, Row> rows = {
            {RecordKind::Source, {"source", {7, 9, 11}}},
            {RecordKind::Sink, {"sink", {7}}},
            {RecordKind::Trigger, {"trigger", {7}}},
            {RecordKind::Selector, {"selector", {12}}},
            {RecordKind::AttachedZones, {"attached", {0}}},
            {RecordKind::Announcement, {"part", {5, 18, 19}}},
            {RecordKind::Schedule, {"schedule", {}}},
            {RecordKind::Zone, {"zone", {5}}},
            {RecordKind::TtsPort, {"port", {}}},
            {RecordKind::TtsDictionary, {"item", {0, 1, 2}}}};
        return rows.at(kind);
    }

    void write(const palink::Connected& event) {
        write("connected", event.serverInfo.get_value("name"),
              " " + std::to_string(event.localDstNo) + std::to_string(event.activeDstNo) +
                  (event.indirect ? "1" : "0"));
    }
    void write(const palink::Disconnected& /*event*/) { write("disconnected", "", ""); }
    void write(const palink::LevelReading& event) {
        std::ostringstream level;
        level << " at " << event.level;
        write("level", std::to_string(event.element), level.str());
    }
    void write(const palink::InitialSetComplete& /*event*/) { write("complete", ".", ""); }
    void write(const palink::RoundTripComplete& /*event*/) {}
    void write(const palink::Withdrawal& event) {
        EXPECT_EQ(event.dstNo, 3);
        write(rowOf(event.kind).name, std::to_string(event.key), " deleted");
    }
    void write(const palink::Refusal& event) {
        write("refused", textOf(event.operation), " [" + event.requestId + "] " + event.reason);
    }
    void write(const palink::Record& event) {
        EXPECT_EQ(event.dstNo, 3);
        const pa::RecordFields& fields = last[{event.kind, event.key}] = event.fields;
        std::string text;
        if (event.kind == RecordKind::Announcement && fields.at(5) == "Queued") {
            text = " " + decoded(*fields[0]);
        }
        for (const std::size_t i : rowOf(event.kind).places) {
            text += i < fields.size() ? " " + fields[i].value_or("-") : "";
        }
        write(rowOf(event.kind).name, std::to_string(event.key), text);
    }

    std::string kind_;
    std::string key_;
    std::string text_;
};

/// A server with manual time; real time is manual too.
struct ServerTest : testing::Test {
    explicit ServerTest(Station station = smallStation(), Options options = {1.0, true, {}})
        : server(std::move(station), std::move(options)) {
        pa::setTimeSource({nullptr, [] { return realMS; }, nullptr});
    }
    ~ServerTest() override { pa::setTimeSource({}); }

    /// Takes the steps of a transcript, a table of lines "step | events".
    void replay(const std::string& transcript) {
        expectResults([this](const std::string& step) { return eventsOf(step); }, transcript);
    }

    /// The events that a step causes.
    std::string eventsOf(const std::string& step) {
        take(step);
        return client.events();
    }

    /// Takes a step: "connect", "disconnect", a time to let pass as +MILLISECONDS, an operation as
    /// CLASS/NUMBER PAYLOAD, or one of another client as "other" CLASS/NUMBER PAYLOAD; or "lock
    /// SOURCE CLIENT", "unlock SOURCE CLIENT", "trigger ID 0|1", "selector ID STATE", "renewals
    /// 0|1", "requests 0|1", "meter ELEMENT 0|1" and, for real time to pass, "real MILLISECONDS".
    void take(const std::string& step) {
        std::istringstream words(step);
        std::string what;
        int number = 0;
        int value = 0;
        words >> what >> number >> value;
        if (what == "connect") {
            server.connectClient(client);
        } else if (what == "disconnect") {
            server.disconnectClient();
        } else if (what.front() == '+') {
            server.advance(std::chrono::milliseconds(std::stoll(what)));
        } else if (what.find('/') != std::string::npos) {
            server.handleOperation(operationIn(step));
        } else if (what == "other") {
            const auto refused = server.operateAsOther(operationIn(step.substr(what.size() + 1)));
            client.write("other", refused.value_or("done"), "");
        } else if (what == "lock" || what == "unlock") {
            const std::string otherClient = step.substr(step.rfind(' ') + 1);
            what == "lock" ? server.lockSource(number, otherClient)
                           : server.unlockSource(number, otherClient);
        } else if (what == "renewals") {
            server.ignoreRenewals(number == 0);
            EXPECT_EQ(server.ignored().renewals, number == 0);
        } else if (what == "requests") {
            server.ignoreRequests(number == 0);
            EXPECT_EQ(server.ignored().requests, number == 0);
        } else if (what == "meter") {
            server.meterLevel(value != 0, number);
        } else if (what == "real") {
            realMS += number;
            server.advance(std::chrono::milliseconds(0));
        } else if (what == "trigger") {
            server.setTrigger(number, value != 0);
        } else {
            server.setSelector(number, value);
        }
    }

    static pa::Operation operationIn(const std::string& step) {
        std::istringstream words(step);
        pa::Operation operation{-2, {}, 1, ""};
        char slash = 0;
        words >> operation.type.classNo >> slash >> operation.type.number;
        std::getline(words >> std::ws, operation.payload);
        return operation;
    }

    static inline std::int64_t realMS = 1'000'000;
    TestClient client;
    SimServer server;
};

struct OperatingTest : ServerTest {
    OperatingTest() : ServerTest(operatedStation()) {
        take("connect");
        take("+5000");  // the timetable's first stretch
        client.events();
    }
};

}  // namespace simserver
