// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/OperatingDecoder.h"

#include <algorithm>
#include <utility>

#include "simserver/protocol/FieldReader.h"
#include "simserver/protocol/FieldText.h"

namespace simserver {

namespace {

/// A UUID is part of records without encoding: nothing in it may end a field or count as nothing.
std::string clientIn(const NamedField& field) {
    constexpr std::size_t longestClient = 63;
    const std::string& client = field.text();
    const bool plain = std::all_of(client.begin(), client.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               c == '-' || c == '_' || c == '.';
    });
    if (client.empty() || client.size() > longestClient || !plain) {
        field.refuse("the client's UUID is missing or malformed");
    }
    return client;
}

std::vector<std::string> zonesIn(NamedField list) {
    std::vector<std::string> zones;
    for (FieldReader in(std::move(list), '^'); !in.atEnd();) {
        zones.push_back(in.decodedText());
    }
    return zones;
}

void requireRange(const FieldReader& in, const std::string& what, double value, int low, int high,
                  const std::string& unit = "") {
    if (value < low || value > high) {
        in.refuse(what + " out of range, expected " + std::to_string(low) + " to " +
                  std::to_string(high) + unit);
    }
}

}  // namespace

LockRequest decodeLock(std::string_view payload) {
    FieldReader in(payload);
    in.expect(2, "source,UUID");
    return {in.integer("id"), clientIn(in.field())};
}

ZonesRequest decodeAttachZones(std::string_view payload) {
    FieldReader in(payload);
    in.expect(2, "source,zones");
    const int id = in.integer("id");
    return {id, zonesIn(in.field("zones")), false};
}

std::vector<std::string> decodeZoneList(std::string_view list) {
    return list.empty() ? std::vector<std::string>()
                        : zonesIn(NamedField(std::string(list), "zones"));
}

ZonesRequest decodeDetachZones(std::string_view payload) {
    return FieldReader(payload).count() == 1 ? ZonesRequest{decodeId(payload), {}, true}
                                             : decodeAttachZones(payload);
}

GainRequest decodeGain(std::string_view payload, int highest) {
    constexpr int lowest = -96;
    FieldReader in(payload);
    in.expect(4, "id,level,flag,flag");
    const GainRequest request{in.integer("id"), in.decimal("level")};
    requireRange(in, "gain", request.level, lowest, highest, " dB");
    in.flag("first flag");
    in.flag("second flag");
    return request;
}

MonitoringRequest decodeMonitoring(std::string_view payload) {
    FieldReader in(payload);
    in.expect(2, "flag,sink");
    const bool enable = in.flag("flag");
    return {in.integer("id"), enable};
}

ActivationRequest decodeActivation(std::string_view payload) {
    refuseNul(payload);
    FieldReader in(payload);
    const auto commas = std::count(payload.begin(), payload.end(), ',');
    if (commas != 1 && commas < 3) {
        in.refuse("expected source,priority or source,priority,preChime,displayText");
    }
    ActivationRequest request;
    request.sourceId = in.integer("id");
    request.priority = in.integer("priority");
    requireRange(in, "priority " + std::to_string(request.priority) + " is", request.priority, 0,
                 100);
    if (!in.atEnd()) {
        request.preChime = in.plainText("preChime");
        request.displayText = in.rest().text();
    }
    return request;
}

int decodeId(std::string_view payload) {
    return NamedField(std::string(payload), "id").integer();
}

}  // namespace simserver
