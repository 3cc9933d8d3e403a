#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <vector>

#include "link/mqtt/answer.h"
#include "link/mqtt/levelPayload.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/serverStatus.h"
#include "link/mqtt/topics.h"
#include "link/mqtt/uploadMessages.h"
#include "tests/mqtt/protocolPage.h"

namespace {

using Json = nlohmann::json;
using pa::RecordKind;
using palink::MalformedMessage;
namespace topics = palink::topics;

/// Which readers take the topic, and what they read.
std::string readings(const std::string& topic) {
    std::string text;
    if (const auto dstNo = topics::readStatus(topic)) {
        text += "status " + std::to_string(*dstNo);
    }
    if (const auto record = topics::readRecord(topic)) {
        text += "record " + std::to_string(record->dstNo) + ' ' + pa::nameOf(record->kind) + ' ' +
                std::to_string(record->key);
    }
    if (const auto type = topics::readOperation(topic, 7)) {
        text += "operation " + textOf(*type);
    }
    if (const auto element = topics::readLevelRequest(topic, 7)) {
        text += "level request " + std::to_string(*element);
    }
    if (const auto element = topics::readLevel(topic, 7)) {
        text += "level " + std::to_string(*element);
    }
    if (const auto function = topics::readControl(topic, 7)) {
        text += "control " + *function;
    }
    return text;
}

TEST(TopicsTest, EachIsReadAsItIsWritten) {
    const struct {
        std::string written;
        const char* topic;
        const char* read;
    } rows[] = {
        {topics::status(1), "pa/1/status", "status 1"},
        {topics::record(2147483647, RecordKind::TtsDictionary, -2147483647 - 1),
         "pa/2147483647/records/102/-2147483648",
         "record 2147483647 text-to-speech item -2147483648"},
        {topics::record(7, RecordKind::Zone, 1), "pa/7/records/20/1", "record 7 zone 1"},
        {topics::operation(7, {92, 17}), "pa/7/operations/92/17", "operation 92/17"},
        {topics::levelRequest(7, 4), "pa/7/levelRequests/4", "level request 4"},
        {topics::levelRequest(7, 0), "pa/7/levelRequests/0", "level request 0"},
        {topics::level(7, 4), "pa/7/levels/4", "level 4"},
        {topics::control(7, "dropClient"), "pa/7/control/dropClient", "control dropClient"},
        {topics::roundTrips(7), "pa/7/roundTrips", ""},
        {topics::uploadBegin(7), "pa/7/uploads/begin", ""},
        {topics::uploadData(7), "pa/7/uploads/data", ""},
        {topics::answers("pa-1"), "pa/clients/pa-1/answers", ""},
        {topics::recordsOf(7), "pa/7/records/#", ""},
        {topics::recordsOf(7, RecordKind::Zone), "pa/7/records/20/+", ""},
        {topics::operationsFor(7), "pa/7/operations/#", ""},
        {topics::levelRequestsFor(7), "pa/7/levelRequests/+", ""},
        {topics::levelsOf(7), "pa/7/levels/+", ""},
        {topics::uploadsFor(7), "pa/7/uploads/+", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.written, row.topic);
        EXPECT_EQ(readings(row.topic), row.read) << row.topic;
    }
}

TEST(TopicsTest, NumbersOtherThanTheProtocolWritesThemAreNotRead) {
    for (const char* const topic : {"pa/0/status",
                                    "pa/01/status",
                                    "pa/-1/status",
                                    "pa/+1/status",
                                    "pa/ 1/status",
                                    "pa/2147483648/status",
                                    "pa//status",
                                    "pa/1/status/",
                                    "pa/1x/status",
                                    "Pa/1/status",
                                    "",
                                    "pa/7/records/20/0",
                                    "pa/7/records/20/-0",
                                    "pa/7/records/20/-",
                                    "pa/7/records/20/007",
                                    "pa/7/records/20/--1",
                                    "pa/7/records/20/2147483648",
                                    "pa/7/records/20/-2147483649",
                                    "pa/7/records/20/x",
                                    "pa/7/records/20/",
                                    "pa/7/records/20",
                                    "pa/7/records/20/1/2",
                                    "pa/7/records/0/1",
                                    "pa/7/records/99/1",
                                    "pa/7/records/-20/1",
                                    "pa/7/operations/92",
                                    "pa/7/operations/92/-1",
                                    "pa/7/operations/0/1",
                                    "pa/8/operations/92/17",
                                    "pa/7/levels/1e1",
                                    "pa/7/control/",
                                    "pa/7/control/a/b"}) {
        EXPECT_EQ(readings(topic), "") << topic;
    }
}

TEST(RecordPayloadTest, FieldsKeepTheirTexts) {
    const struct {
        pa::RecordFields fields;
        const char* payload;
    } rows[] = {
        {{}, "[]"},
        {{"12", "Platform 1", std::nullopt, "0"}, R"(["12","Platform 1",null,"0"])"},
        {{std::nullopt, ""}, R"([null,""])"},
        {{"\"a\\b\"", "1\n2\x01", "Gleis \u201e2\u201c\U0001F514"},
         R"(["\"a\\b\"","1\n2\u0001","Gleis „2“🔔"])"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(palink::encodeRecord(row.fields), row.payload);
        EXPECT_EQ(palink::decodeRecord(row.payload), row.fields) << row.payload;
    }
    EXPECT_EQ(palink::decodeRecord(" [ \"\\u00e9\\ud83d\\udd14\" , null ]\n"),
              (pa::RecordFields{"é🔔", std::nullopt}));
    EXPECT_EQ(palink::encodeRecord({"a\xFFz"}), "[\"a\uFFFDz\"]");
}

// Checksums from another implementation of FNV-1a, in Python.
TEST(RecordPayloadTest, TheChecksumCoversKindKeyAndPayload) {
    EXPECT_EQ(palink::recordChecksum(RecordKind::Zone, 12, R"(["12","Platform 1",null,"0"])"),
              0xf7dc1bc0578c096bU);
    EXPECT_EQ(palink::recordChecksum(RecordKind::Zone, -3, "[]"), 0x18d41293fc614e12U);
    EXPECT_EQ(palink::recordChecksum(RecordKind::Source, 7, "[\"7\",\"Caf\u00e9 \\\"A\\\"\"]"),
              0x34c4020b7cb97983U);
}

/// Each payload is refused.
template <class Decode>
void expectMalformed(Decode decode, const std::vector<std::string>& payloads) {
    for (const std::string& payload : payloads) {
        EXPECT_THROW(decode(payload), MalformedMessage) << payload.substr(0, 40);
    }
}

TEST(MalformedMessageTest, WhatTheProtocolDoesNotHaveIsRefused) {
    std::vector<std::string> notJson{
        "",     "[",           "[\"a\"",        "[\"a\",]",    "[\"a\"]]",      "[null,,null]",
        "]",    "[null null]", "[nul]",         "[null\"a\"]", "[\"a\"x\"b\"]", "[,]",
        "\xFF", "[\"\xC3(\"]", "[\"\\ud800\"]", "{\"a\""};
    const std::string deep(100'000, '[');
    notJson.push_back(deep + std::string(100'000, ']'));
    notJson.push_back(std::string(10'000'000, '['));
    notJson.push_back(std::string("[\"a\"]\0", 6));
    for (const auto& decode : std::vector<std::function<void(std::string_view)>>{
             palink::decodeRecord, palink::decodeStatus, palink::decodeAnswer, palink::decodeLevel,
             palink::decodeUploadBegin, palink::decodeUploadProgress}) {
        expectMalformed(decode, notJson);
    }
    expectMalformed(palink::decodeRecord,
                    {"{}", "null", "\"a\"", "[1]", "[1.5]", "[-1]", "[true]", "[[]]", "[{}]",
                     "[\"a\",[\"b\"]]", "[\"" + std::string(palink::maxRecordBytes, 'x') + "\"]"});
    expectMalformed(
        palink::decodeAnswer,
        {R"({})", R"({"outcome":"maybe"})", R"({"outcome":1})", R"({"outcome":"refused"})",
         R"({"outcome":"refused","reason":[]})", R"({"outcome":"accepted","requestId":1})"});
    expectMalformed(palink::decodeLevel, {"1e999", "\"1\"", "[1]", "NaN", "-"});
    const std::string digits(63, 'a');
    expectMalformed(palink::decodeUploadBegin,
                    {R"({"name":"a","size":-1,"sha256":")" + digits + "a\"}",
                     R"({"name":"a","size":1,"sha256":")" + digits + "A\"}",
                     R"({"name":"a","size":1,"sha256":")" + digits + "\"}"});
}

TEST(ServerStatusTest, AMemberOfAnotherTypeOrRangeIsRefused) {
    const Json valid = Json::parse(
        found(protocolPage(), "(\\{\"protocol\": 1, \"state\": \"online\"[^`]*)`").at(0));
    EXPECT_NO_THROW(palink::decodeStatus(valid.dump()));
    const struct {
        const char* member;
        std::vector<const char*> values;
    } rows[] = {
        {"protocol", {"2", "\"1\"", "1.5"}},
        {"state", {"\"on\"", "true"}},
        {"generation", {"0", "-1", "9007199254740992", "18446744073709551615", "1.5", "\"1\""}},
        {"role", {"\"\"", "null"}},
        {"precedence", {"0", "1001"}},
        {"name", {"1"}},
        {"speed", {"0", "-1", "\"1\""}},
        {"control", {"1"}},
        {"clockMS", {"-1", "1e3"}},
        {"kinds",
         {"[]", R"({"2":[]})", R"({"2":{"count":1}})",
          R"({"2":{"count":0,"checksum":"0123456789abcdef"}})",
          R"({"2":{"count":1,"checksum":"0123456789ABCDEF"}})",
          R"({"2":{"count":1,"checksum":"0123456789abcde"}})"}},
    };
    for (const auto& row : rows) {
        for (const char* const value : row.values) {
            Json changed = valid;
            changed[row.member] = Json::parse(value);
            EXPECT_THROW(palink::decodeStatus(changed.dump()), MalformedMessage)
                << row.member << ' ' << value;
        }
        Json without = valid;
        without.erase(row.member);
        if (row.member != std::string("control")) {
            EXPECT_THROW(palink::decodeStatus(without.dump()), MalformedMessage) << row.member;
        }
    }
    Json later = valid;
    later["kinds"]["99"] = "of a later protocol";
    later["more"] = Json::parse(std::string(31, '[') + "\"]\\\"[\"" + std::string(31, ']'));
    EXPECT_EQ(palink::decodeStatus(later.dump()).kinds.size(), 1U);
    later["more"] = Json::array({later["more"]});
    EXPECT_THROW(palink::decodeStatus(later.dump()), MalformedMessage);
}

TEST(PageTest, TheBlocksOfThePageAreWhatTheSdkReadsAndWrites) {
    int objects = 0;
    for (const std::string& block : found(protocolPage(), "```json\n([^`]*)```")) {
        // Objects that begin at the start of a line.
        for (const std::string& object : found('\n' + block, "\n(\\{[^\n]*(?:\n [^\n]*)*)")) {
            const bool isStatus = object.find("protocol") != std::string::npos;
            const std::string again = isStatus ? palink::encodeStatus(palink::decodeStatus(object))
                                               : palink::encodeAnswer(palink::decodeAnswer(object));
            EXPECT_EQ(Json::parse(again), Json::parse(object)) << object;
            ++objects;
        }
    }
    EXPECT_EQ(objects, 4);
}

TEST(PageTest, TheTableOfExamplesIsWhatTheSdkReadsAndWrites) {
    int rows = 0;
    const std::string text = protocolPage();
    const std::string examples = text.substr(text.find("\n## Examples"));
    const std::regex row("\n\\| `([^`]*)` \\|[^|]*\\|(?: `([^`]*)`)?");
    for (std::sregex_iterator match(examples.begin(), examples.end(), row), end; match != end;
         ++match, ++rows) {
        const std::string topic = (*match)[1];
        const std::string payload = (*match)[2];
        const std::string leaf = topic.substr(topic.rfind('/') + 1);
        if (topics::readStatus(topic)) {
            EXPECT_EQ(palink::encodeStatus(palink::decodeStatus(payload)), payload);
        } else if (topics::readRecord(topic)) {
            EXPECT_TRUE(payload.empty() ||
                        palink::encodeRecord(palink::decodeRecord(payload)) == payload)
                << payload;
        } else if (topics::readLevel(topic, 1)) {
            EXPECT_EQ(palink::encodeLevel(palink::decodeLevel(payload)), payload);
        } else if (topic == topics::uploadBegin(1)) {
            EXPECT_EQ(palink::encodeUploadBegin(palink::decodeUploadBegin(payload)), payload);
        } else if (leaf == "answers") {
            const palink::Answer answer = palink::decodeAnswer(payload);
            EXPECT_EQ(palink::encodeAnswer(answer), payload);
            if (!answer.result.empty()) {
                EXPECT_EQ(palink::encodeUploadProgress(palink::decodeUploadProgress(answer.result)),
                          answer.result);
            }
        } else {
            EXPECT_TRUE(topics::readOperation(topic, 1) || topics::readLevelRequest(topic, 1) ||
                        topic == topics::roundTrips(1) || topic == topics::uploadData(1))
                << topic;
        }
    }
    EXPECT_EQ(rows, 14);
}

TEST(PageTest, TheExampleOfAChecksumHolds) {
    const std::string text = protocolPage();
    const std::regex record("(1[23]) with\\s+`(\\[[^`]*)`\\s*\\(checksum\\s+([0-9a-f]{16})\\)");
    std::uint64_t sum = 0;
    int records = 0;
    for (std::sregex_iterator match(text.begin(), text.end(), record), end; match != end;
         ++match, ++records) {
        const int key = std::stoi((*match)[1]);
        const std::uint64_t checksum =
            palink::recordChecksum(RecordKind::Zone, key, (*match)[2].str());
        EXPECT_EQ(checksum, std::stoull((*match)[3], nullptr, 16)) << key;
        sum += checksum;
    }
    EXPECT_EQ(records, 2);
    palink::ServerStatus status{true, 1};
    status.kinds[RecordKind::Zone] = {2, sum};
    const Json kinds = Json::parse(palink::encodeStatus(status))["kinds"];
    const auto quoted = found(text, "`(\"20\": \\{\"count\": 2[^`]*)`").at(0);
    EXPECT_EQ(kinds, Json::parse('{' + quoted + '}'));
}

}  // namespace
