// SPDX-License-Identifier: Apache-2.0
// The messages of the link over a broker. The first line of the input names the message, the rest
// is its payload or topic. What is read is what a JSON library reads, and is written as it was;
// anything else is malformed, and nothing but MalformedMessage leaves a decoder.
#include <map>
#include <nlohmann/json.hpp>

#include "fuzz/Target.h"
#include "link/mqtt/answer.h"
#include "link/mqtt/levelPayload.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/serverStatus.h"
#include "link/mqtt/topics.h"
#include "link/mqtt/uploadMessages.h"

namespace {

using Json = nlohmann::json;
using palink::MalformedMessage;

/// Whether every member that was written is as it was read. What is written of its own: `control`.
bool isPart(const Json& written, const Json& read) {
    if (!written.is_object() || !read.is_object()) {
        return written == read;
    }
    for (const auto& [name, value] : written.items()) {
        const bool isDefault = name == "control" && value == false && !read.contains(name);
        if (!isDefault && (!read.contains(name) || !isPart(value, read[name]))) {
            return false;
        }
    }
    return true;
}

template <auto decode, auto encode>
void checkObject(const std::string& payload) {
    std::string written;
    if (!fuzz::returns<MalformedMessage>([&] { written = encode(decode(payload)); })) {
        return;
    }
    fuzz::require(isPart(Json::parse(written), Json::parse(payload)), "written as it was read");
    fuzz::requireEqual(encode(decode(written)), written, "read again");
}

void checkRecord(const std::string& payload) {
    Json json = Json::parse(payload, nullptr, false);
    bool isRecord = json.is_array() && payload.find('\0') == std::string::npos;
    std::vector<std::optional<std::string>> fields;
    for (std::size_t i = 0; isRecord && i < json.size(); ++i) {
        isRecord = json[i].is_string() || json[i].is_null();
        fields.push_back(json[i].is_string() ? std::optional(json[i].get<std::string>())
                                             : std::nullopt);
    }
    pa::RecordFields read;
    const bool isRead =
        fuzz::returns<MalformedMessage>([&] { read = palink::decodeRecord(payload); });
    fuzz::require(isRead == isRecord, "a JSON array of strings and nulls, nothing else, is read");
    if (isRead) {
        fuzz::require(read == fuzz::recordFields(fields), "the fields that a JSON library reads");
        const std::string written = palink::encodeRecord(read);
        fuzz::requireEqual(written, json.dump(), "as a JSON library writes it");
    }
    // Any bytes can be a field.
    const std::string bytes = palink::encodeRecord(fuzz::recordFields({payload, std::nullopt}));
    fuzz::requireEqual(palink::encodeRecord(palink::decodeRecord(bytes)), bytes, "any bytes");
}

template <class Read, class Write>
void checkTopic(const std::string& topic, const Read& read, Write write) {
    if (read) {
        fuzz::requireEqual(write(*read), topic, "written as it was read");
    }
}

void checkTopics(const std::string& topic) {
    namespace topics = palink::topics;
    constexpr int server = 7;
    const auto ofServer = [](auto write) {
        return [write](const auto& what) { return write(server, what); };
    };
    checkTopic(topic, topics::readStatus(topic), topics::status);
    checkTopic(topic, topics::readRecord(topic), [](const topics::RecordTopic& record) {
        return topics::record(record.dstNo, record.kind, record.key);
    });
    checkTopic(topic, topics::readOperation(topic, server), ofServer(topics::operation));
    checkTopic(topic, topics::readOperationType(topic), pa::textOf);
    checkTopic(topic, topics::readLevelRequest(topic, server), ofServer(topics::levelRequest));
    checkTopic(topic, topics::readLevel(topic, server), ofServer(topics::level));
    checkTopic(topic, topics::readControl(topic, server), ofServer(topics::control));
}

const std::map<std::string, void (*)(const std::string&)> checks = {
    {"record", checkRecord},
    {"topic", checkTopics},
    {"level", checkObject<palink::decodeLevel, palink::encodeLevel>},
    {"answer", checkObject<palink::decodeAnswer, palink::encodeAnswer>},
    {"status", checkObject<palink::decodeStatus, palink::encodeStatus>},
    {"uploadBegin", checkObject<palink::decodeUploadBegin, palink::encodeUploadBegin>},
    {"uploadProgress", checkObject<palink::decodeUploadProgress, palink::encodeUploadProgress>},
};

}  // namespace

void fuzz::run(const std::string& input) {
    runNamed(input, checks);
}
