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
/// Replays what is asked of a simulated server and what the client is told.

namespace simserver {

using pa::RecordKind;

/// Writes down what it is told, behind the name of the kind and the key: of records some fields
/// that can change. A name and a key that come again are not repeated, nor is the id of an
/// announcement behind its beginning.
class TestClient : public palink::ServerEventSink {
public:
    void deliver(palink::ServerEvent event) override {
        std::visit([this](const auto& told) { write(told); }, event);
    }

    std::map<std::pair<RecordKind, int>, pa::RecordFields> last;  // records

    /// What was told since the last call.
    std::string told() {
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

    void write(const palink::Connected& told) {
        write("connected", told.serverInfo.get_value("name"),
              " " + std::to_string(told.localDstNo) + std::to_string(told.activeDstNo) +
                  (told.indirect ? "1" : "0"));
    }
    void write(const palink::Disconnected& /*told*/) { write("disconnected", "", ""); }
    void write(const palink::LevelReading& told) {
        std::ostringstream level;
        level << " at " << told.level;
        write("level", std::to_string(told.element), level.str());
    }
    void write(const palink::InitialSetComplete& /*told*/) { write("complete", ".", ""); }
    void write(const palink::Withdrawal& told) {
        EXPECT_EQ(told.dstNo, 3);
        write(rowOf(told.kind).name, std::to_string(told.key), " gone");
    }
    void write(const palink::Refusal& told) {
        write("refused", textOf(told.operation), " [" + told.requestId + "] " + told.reason);
    }
    void write(const palink::Record& told) {
        EXPECT_EQ(told.dstNo, 3);
        const pa::RecordFields& fields = last[{told.kind, told.key}] = told.fields;
        std::string text;
        if (told.kind == RecordKind::Announcement && fields.at(5) == "Queued") {
            text = " " + unquoted(*fields[0]);
        }
        for (const std::size_t i : rowOf(told.kind).places) {
            text += i < fields.size() ? " " + fields[i].value_or("-") : "";
        }
        write(rowOf(told.kind).name, std::to_string(told.key), text);
    }

    std::string kind_;
    std::string key_;
    std::string text_;
};

/// A server whose simulated time passes by hand, as real time does.
struct ServerTest : testing::Test {
    explicit ServerTest(Station station = smallStation(), Options options = {1.0, true, {}})
        : server(std::move(station), std::move(options)) {
        pa::setTimeSource({nullptr, [] { return realMS; }, nullptr});
    }
    ~ServerTest() override { pa::setTimeSource({}); }

    /// Takes the steps of a transcript, a table of lines "step | what the client is told".
    void replay(const std::string& transcript) {
        expectResults([this](const std::string& step) { return told(step); }, transcript);
    }

    /// What the client is told of a step.
    std::string told(const std::string& step) {
        take(step);
        return client.told();
    }

    /// Takes a step: "connect", "disconnect", a time to let pass as +MILLISECONDS, an operation as
    /// CLASS/NUMBER PAYLOAD, or one of another client as "other" CLASS/NUMBER PAYLOAD; or "trigger
    /// ID 0|1", "selector ID STATE", "renewals 0|1", "requests 0|1", "meter ELEMENT 0|1" and, for
    /// real time to pass, "real MILLISECONDS".
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
        } else if (what == "renewals") {
            server.withholdRenewals(number == 0);
        } else if (what == "requests") {
            server.withholdRequests(number == 0);
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
        client.told();
    }
};

}  // namespace simserver
