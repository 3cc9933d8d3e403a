// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/serverStatus.h"

#include <charconv>

#include "link/mqtt/jsonMessage.h"

namespace palink {

namespace {

using Json = nlohmann::json;

constexpr int protocolVersion = 1;
constexpr int worstPrecedence = 1000;
constexpr std::size_t checksumDigits = 16;
constexpr const char* digits = "0123456789abcdef";

std::string checksumText(std::uint64_t checksum) {
    std::string text(checksumDigits, '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit) {
        *digit = digits[checksum & 15U];
        checksum >>= 4U;
    }
    return text;
}

std::uint64_t readChecksum(const std::string& text) {
    std::uint64_t checksum = 0;
    if (text.size() != checksumDigits || text.find_first_not_of(digits) != std::string::npos) {
        JsonObject::refuse("checksum", "has no 16 hexadecimal digits in lower case");
    }
    std::from_chars(text.data(), text.data() + text.size(), checksum, 16);
    return checksum;
}

/// The kinds of the SDK. Those of a later protocol are no concern of this one.
std::map<pa::RecordKind, KindSummary> readKinds(const Json& kinds) {
    if (!kinds.is_object()) {
        JsonObject::refuse("kinds", "is no object");
    }
    std::map<pa::RecordKind, KindSummary> read;
    for (const pa::RecordKindRow& row : pa::recordKinds) {
        const auto found = kinds.find(std::to_string(static_cast<int>(row.kind)));
        if (found != kinds.end()) {
            const JsonObject summary(*found);
            read[row.kind] = {static_cast<std::uint64_t>(summary.integer("count", 1)),
                              readChecksum(summary.text("checksum"))};
        }
    }
    return read;
}

}  // namespace

std::string encodeStatus(const ServerStatus& status) {
    Json json = {{"protocol", protocolVersion},
                 {"state", status.online ? "online" : "offline"},
                 {"generation", status.generation}};
    if (status.online) {
        json["role"] = status.role == ServerRole::Active ? "active" : "standby";
        json["precedence"] = status.precedence;
        json["name"] = status.name;
        json["software"] = status.software;
        json["timeZone"] = status.timeZone;
        json["clockMS"] = status.clockMS;
        json["hostClockMS"] = status.hostClockMS;
        json["speed"] = status.speed;
        json["control"] = status.control;
        Json& kinds = json["kinds"] = Json::object();
        for (const auto& [kind, summary] : status.kinds) {
            kinds[std::to_string(static_cast<int>(kind))] = {
                {"count", summary.count}, {"checksum", checksumText(summary.checksum)}};
        }
    }
    return jsonText(json);
}

ServerStatus decodeStatus(std::string_view payload) {
    const JsonObject json(payload);
    if (json.integer("protocol", 1) != protocolVersion) {
        JsonObject::refuse("protocol", "is not 1");
    }
    ServerStatus status;
    status.generation = json.integer("generation", 1);
    status.online = json.isFirst("state", "online", "offline");
    if (status.online) {
        status.role =
            json.isFirst("role", "active", "standby") ? ServerRole::Active : ServerRole::Standby;
        status.precedence = static_cast<int>(json.integer("precedence", 1, worstPrecedence));
        status.name = json.text("name");
        status.software = json.text("software");
        status.timeZone = json.text("timeZone");
        status.clockMS = json.integer("clockMS", 0);
        status.hostClockMS = json.integer("hostClockMS", 0);
        status.speed = json.positive("speed");
        status.control = json.has("control") && json.boolean("control");
        status.kinds = readKinds(json.member("kinds"));
    }
    return status;
}

}  // namespace palink
