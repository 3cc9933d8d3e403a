// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "link/mqtt/answer.h"
#include "link/mqtt/levelPayload.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/serverStatus.h"
#include "link/mqtt/topics.h"
#include "link/mqtt/uploadMessages.h"

namespace {

using Json = nlohmann::json;
using pa::RecordKind;
using palink::MalformedMessage;
namespace topics = palink::topics;

bool isRead(const std::string& topic) {
    return topics::readStatus(topic) || topics::readRecord(topic) ||
           topics::readOperation(topic, 7) || topics::readLevelRequest(topic, 7) ||
           topics::readLevel(topic, 7) || topics::readControl(topic, 7);
}

TEST(TopicsTest, AreReadAsTheyAreWritten) {
    constexpr int most = 2147483647;
    const std::string extreme = topics::record(most, RecordKind::TtsDictionary, -most - 1);
    EXPECT_EQ(extreme, "pa/2147483647/records/102/-2147483648");
    const auto record = topics::readRecord(extreme);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->dstNo, most);
    EXPECT_EQ(record->kind, RecordKind::TtsDictionary);
    EXPECT_EQ(record->key, -most - 1);
    EXPECT_EQ(topics::readStatus(topics::status(1)), 1);
    EXPECT_EQ(textOf(*topics::readOperation(topics::operation(7, {92, 17}), 7)), "92/17");
    EXPECT_EQ(topics::readLevelRequest(topics::levelRequest(7, 4), 7), 4);
    EXPECT_EQ(topics::readLevelRequest(topics::levelRequest(7, 0), 7), 0);
    EXPECT_EQ(topics::readLevel(topics::level(7, 4), 7), 4);
    EXPECT_EQ(topics::readControl(topics::control(7, "dropClient"), 7), "dropClient");
}

TEST(TopicsTest, NumbersOtherThanTheProtocolWritesThemAreNotRead) {
    std::vector<std::string> topics{"Pa/1/status", "pa/8/operations/92/17"};
    for (const std::string number : {"0", "01", "-1", "+1", " 1", "2147483648", "", "1x", "1/"}) {
        topics.push_back("pa/" + number + "/status");
    }
    for (const std::string key :
         {"0", "-0", "-", "007", "--1", "2147483648", "-2147483649", "x", "", "1/2"}) {
        topics.push_back("pa/7/records/20/" + key);
    }
    for (const std::string rest :
         {"status/", "records/20", "records/0/1", "records/99/1", "records/-20/1", "operations/92",
          "operations/92/-1", "operations/0/1", "levels/1e1", "control/", "control/a/b"}) {
        topics.push_back("pa/7/" + rest);
    }
    for (const std::string& topic : topics) {
        EXPECT_FALSE(isRead(topic)) << topic;
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
        {{"\"A\"^\"B\\C\"", "\\"}, R"(["\"A\"^\"B\\C\"","\\"])"},
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
        "",         "[",           "[\"a\"",        "[\"a\",]",    "[\"a\"]]",      "[null,,null]",
        "]",        "[null null]", "[nul]",         "[null\"a\"]", "[\"a\"x\"b\"]", "[,]",
        "\xFF",     "[\"\xC3(\"]", "[\"\\ud800\"]", "{\"a\"",      R"(["\"])",      R"(["\)",
        R"(["\x"])"};
    const std::string deep(100'000, '[');
    notJson.push_back(deep + std::string(100'000, ']'));
    notJson.push_back(std::string(10'000'000, '['));
    notJson.emplace_back("[\"a\"]\"b\"]");
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
    palink::ServerStatus status{true, 1};
    status.name = "Station";
    status.software = "test";
    status.timeZone = "Europe/Vienna";
    status.kinds[RecordKind::Zone] = {1, 5};
    const Json valid = Json::parse(palink::encodeStatus(status));
    EXPECT_EQ(palink::decodeStatus(valid.dump()).kinds, status.kinds);
    for (const char* const member : {"protocol", "state", "generation", "role", "precedence",
                                     "name", "speed", "clockMS", "kinds"}) {
        Json without = valid;
        without.erase(member);
        EXPECT_THROW(palink::decodeStatus(without.dump()), MalformedMessage) << member;
    }
    const Json bad = Json::parse(R"({
        "protocol": [2, "1", 1.5], "state": ["on", true], "role": [""], "name": [1], "control": [1],
        "generation": [0, -1, 9007199254740992, 18446744073709551615], "precedence": [0, 1001],
        "speed": [0, "1"], "clockMS": [-1],
        "kinds": [[], {"2": []}, {"2": {"count": 1}},
                  {"2": {"count": 0, "checksum": "0123456789abcdef"}},
                  {"2": {"count": 1, "checksum": "0123456789ABCDEF"}},
                  {"2": {"count": 1, "checksum": "0123456789abcde"}}]})");
    for (const auto& [member, values] : bad.items()) {
        for (const Json& value : values) {
            Json changed = valid;
            changed[member] = value;
            EXPECT_THROW(palink::decodeStatus(changed.dump()), MalformedMessage) << changed;
        }
    }
    Json later = valid;
    later["kinds"]["99"] = "of a later protocol";
    later["more"] = Json::parse(std::string(31, '[') + "\"]\\\"[\"" + std::string(31, ']'));
    EXPECT_EQ(palink::decodeStatus(later.dump()).kinds.size(), 1U);
    later["more"] = Json::array({later["more"]});
    EXPECT_THROW(palink::decodeStatus(later.dump()), MalformedMessage);
}

}  // namespace
