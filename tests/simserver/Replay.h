// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <functional>
#include <map>
#include <utility>

#include "framework/clock.h"
#include "simserver/SimServer.h"
#include "simserver/protocol/FieldReader.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"
#include "simserver/station/StationFile.h"
#include "tests/support/tables.h"

/// @file
/// Replays transcripts: what is asked of a simulated server and what its client receives.

/// A text without one level of encoding.
inline std::string decoded(std::string_view text) {
    return simserver::NamedField(std::string(text)).decodedText();
}

namespace simserver {

using pa::RecordKind;

constexpr std::time_t mondayMorning = 1767592770;  // 2026-01-05 05:59:30 UTC

/// The scenario files of these tests.
inline std::string scenarioFile(const std::string& name) {
    return PA_SCENARIO_DIR "/../tests/simserver/stations/" + name + ".json";
}

/// A hall with two halves, a hallway and a yard; item 1 is a chime of 500 ms, items 12 and 40 last
/// 1 s and 2 s.
inline Station smallStation() {
    return loadStation(scenarioFile("small"));
}

/// These zones with a paging station that two triggers open, a computer in an element of its own
/// whose trigger follows a timetable, and a sink that can be reset.
inline Station operatedStation() {
    return loadStation(scenarioFile("operated"));
}

/// Writes each event as the name of its kind, its key and, of records, some fields that can change.
/// A name and a key that repeat are left out, and so is the id of an announcement that has begun.
class TestClient : public palink::ServerEventSink {
public:
    void deliver(palink::ServerEvent event) override {
        std::visit([this](const auto& each) { write(each); }, event);
    }

    std::map<std::pair<RecordKind, int>, pa::RecordFields> last;  // records

    /// Of a part of an announcement, as its last record has it.
    std::string contentOf(int part) const {
        return decoded(*last.at({RecordKind::Announcement, part}).at(9));
    }

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
            {RecordKind::TtsDictionary, {"item", {0, 1, 2, 4}}}};
        return rows.at(kind);
    }

private:
    void write(const palink::Connected& event) {
        EXPECT_EQ(event.localDstNo, 3);
        write("connected", event.serverInfo.get_value("name"), "");
    }
    void write(const palink::LevelReading& event) {
        write("level", std::to_string(event.element),
              " at " + std::to_string(std::lround(event.level)));
    }
    void write(const palink::InitialSetComplete& /*event*/) { write("complete", ".", ""); }
    template <class Other>
    void write(const Other& /*event*/) {}
    void write(const palink::Withdrawal& event) {
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
            text += i < fields.size() ? " " + std::string(fields[i].value_or("-")) : "";
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

    /// Takes the steps of the test's table: lines "step | events".
    void replay() {
        expectTable([this](const std::string& step) { return eventsOf(step); });
    }

    /// The events that a step causes.
    std::string eventsOf(const std::string& step) {
        take(step);
        return client.events();
    }

    /// Takes a step: "connect", "disconnect", a time to let pass as +MILLISECONDS, an operation as
    /// CLASS/NUMBER PAYLOAD, or one of another client as "other" CLASS/NUMBER PAYLOAD; or "trigger
    /// ID 0|1", "selector ID STATE", "renewals 0|1", "meter ELEMENT 0|1" and, for real time to
    /// pass, "real MILLISECONDS".
    void take(const std::string& step) {
        std::istringstream words(step);
        std::string what;
        int number = 0;
        int value = 0;
        words >> what >> number >> value;
        const std::map<std::string, std::function<void()>> steps = {
            {"connect", [&] { server.connectClient(client); }},
            {"disconnect", [&] { server.disconnectClient(); }},
            {"renewals", [&] { server.ignoreRenewals(number == 0); }},
            {"meter", [&] { server.meterLevel(value != 0, number); }},
            {"trigger", [&] { server.setTrigger(number, value != 0); }},
            {"selector", [&] { server.setSelector(number, value); }},
            {"other", [&] { client.write("other", refusalOf(step.substr(6)), ""); }},
            {"real", [&] {
                 realMS += number;
                 server.advance(std::chrono::milliseconds(0));
             }}};
        if (const auto named = steps.find(what); named != steps.end()) {
            named->second();
        } else if (what.front() == '+') {
            server.advance(std::chrono::milliseconds(std::stoll(what)));
        } else {
            server.handleOperation(operationIn(step));
        }
    }

    /// Why an operation of another client is refused, or "done".
    std::string refusalOf(const std::string& operation) {
        const auto refusal = server.operate(operationIn(operation));
        return refusal ? refusal->reason : "done";
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
