#pragma once

#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>
#include <utility>

#include "simserver/Refused.h"
#include "simserver/SimServer.h"

/// @file
/// Replays what is asked of a simulated server and what the client is told.

namespace simserver {

using palink::RecordKind;

/// Writes down what it is told: what is of one kind together, behind its name; of records the key
/// and the fields that can change.
class TestClient : public palink::ServerEventSink {
public:
    void deliver(palink::ServerEvent event) override {
        std::visit([this](const auto& told) { write(told); }, event);
    }

    std::map<std::pair<palink::RecordKind, int>, RecordFields> last;  // records
    std::vector<double> levels;                                       // of the meters

    /// What was told since the last call.
    std::string told() {
        kind_.clear();
        return std::exchange(text_, {});
    }

    void write(const std::string& kind, const std::string& text) {
        text_ += (kind == kind_ ? ", " : (text_.empty() ? "" : " / ") + kind + ": ") + text;
        kind_ = kind;
    }

private:
    void write(const palink::Connected& told) {
        write("connected", std::to_string(told.localDstNo) + std::to_string(told.activeDstNo) +
                               (told.indirect ? "1 " : "0 ") + told.serverInfo.get_value("name"));
    }
    void write(const palink::Disconnected& told) { write("disconnected", told.reason); }
    void write(const palink::LevelReading& told) {
        std::ostringstream level;
        level << told.element << " at " << told.level;
        write("level", level.str());
        levels.push_back(told.level);
    }
    void write(const palink::InitialSetComplete& /*told*/) { write("complete", "."); }
    void write(const palink::Withdrawal& told) {
        EXPECT_EQ(told.dstNo, 3);
        write(std::to_string(told.kind), std::to_string(told.key) + " gone");
    }
    void write(const palink::Refusal& told) {
        const std::string number = std::to_string(told.operationNumber);
        write("refused", std::to_string(told.operationClass) + "/" + number + " [" +
                             told.requestId + "] " + told.reason);
    }
    void write(const palink::Record& told) {
        static std::map<palink::RecordKind, std::vector<std::size_t>> places = {
            {palink::RecordKind::Source, {7, 9, 11}},
            {palink::RecordKind::Sink, {7, 9}},
            {palink::RecordKind::Trigger, {7}},
            {palink::RecordKind::Selector, {12}},
            {palink::RecordKind::AttachedZones, {0}},
            {palink::RecordKind::Zone, {3, 5}},
            {palink::RecordKind::Announcement, {0, 5, 18, 19}},
            {palink::RecordKind::TtsDictionary, {0, 1, 2}}};
        EXPECT_EQ(told.dstNo, 3);
        last[{told.kind, told.key}] = told.fields;
        std::string text = std::to_string(told.key);
        for (const std::size_t i : places[told.kind]) {
            text += i < told.fields.size() ? " " + told.fields[i].value_or("-") : "";
        }
        write(std::to_string(static_cast<int>(told.kind)), text);
    }

    std::string kind_;
    std::string text_;
};

struct ServerTest : testing::Test {
    explicit ServerTest(Station station, Options options = {1.0, true, {}})
        : server(std::move(station), std::move(options)) {}

    /// Takes the steps of a transcript, its lines that begin with ">": "connect", "disconnect", a
    /// time to let pass as +MILLISECONDS, an operation as CLASS/NUMBER PAYLOAD, or one of another
    /// client as "other" CLASS/NUMBER PAYLOAD; or "trigger ID 0|1", "selector ID STATE", "renewals
    /// 0|1" and "meter ELEMENT 0|1". Expects to be told what stands below each step, where an
    /// indented line goes on with the one above.
    void replay(const std::string& transcript) {
        const std::string expected = std::regex_replace(transcript, std::regex("\n +"), " ");
        std::istringstream lines(expected);
        std::string happened;
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("> ", 0) == 0) {
                take(line.substr(2));
                happened += "\n" + line + "\n" + client.told();
            }
        }
        EXPECT_EQ(happened + "\n", expected);
    }

    virtual void take(const std::string& step) {
        std::istringstream words(step);
        std::string what;
        int number = 0;
        int value = 0;
        words >> what;
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
            client.write("other", refused.value_or("done"));
        } else if (words >> number; what == "renewals") {
            server.withholdRenewals(number == 0);
        } else if (words >> value; what == "meter") {
            server.meterLevel(value != 0, number);
        } else {
            try {
                what == "trigger" ? server.setTrigger(number, value != 0)
                                  : server.setSelector(number, value);
            } catch (const Refused& refused) {
                client.write("refused", refused.what());
            }
        }
    }

    static Operation operationIn(const std::string& step) {
        std::istringstream words(step);
        Operation operation{-2, 0, 0, 1, ""};
        char slash = 0;
        words >> operation.operationClass >> slash >> operation.operationNumber;
        std::getline(words >> std::ws, operation.payload);
        return operation;
    }

    TestClient client;
    SimServer server;
};

}  // namespace simserver
