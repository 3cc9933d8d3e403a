#include "simserver/protocol/OperatingDecoder.h"

#include <algorithm>

#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

using Pieces = std::vector<std::string_view>;

/// The fields between commas, of which there must be so many.
Pieces fieldsOf(std::string_view payload, std::size_t count, const char* layout) {
    Pieces fields = pieces(payload, ',');
    if (fields.size() != count) {
        throw Refused("expected " + std::string(layout));
    }
    return fields;
}

/// At most so many fields, of which the last takes all the rest, quotes and commas as they are.
Pieces firstFields(std::string_view payload, std::size_t most) {
    Pieces fields;
    for (std::size_t comma = payload.find(',');
         comma != std::string_view::npos && fields.size() + 1 < most; comma = payload.find(',')) {
        fields.push_back(payload.substr(0, comma));
        payload.remove_prefix(comma + 1);
    }
    fields.push_back(payload);
    return fields;
}

int idIn(std::string_view field) {
    return within("id", [&] { return wholeNumber<int>(field); });
}

bool flagIn(std::string_view field) {
    if (field != "0" && field != "1") {
        throw Refused("\"" + std::string(field) + "\" is neither 0 nor 1");
    }
    return field == "1";
}

/// It stands in records as it is: nothing in it may end the field or count as nothing.
std::string clientIn(std::string_view field) {
    constexpr std::size_t longestClient = 63;
    const bool plain = std::all_of(field.begin(), field.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               c == '-' || c == '_' || c == '.';
    });
    if (field.empty() || field.size() > longestClient || !plain) {
        throw Refused("the client's UUID is missing or malformed");
    }
    return std::string(field);
}

std::vector<std::string> zonesIn(std::string_view field) {
    std::vector<std::string> zones;
    for (const std::string_view zone : pieces(field, '^')) {
        zones.push_back(within("zones", [&] { return unquoted(zone); }));
    }
    return zones;
}

}  // namespace

LockRequest decodeLock(std::string_view payload) {
    const Pieces fields = fieldsOf(payload, 2, "source,UUID");
    return {idIn(fields[0]), clientIn(fields[1])};
}

ZonesRequest decodeAttachZones(std::string_view payload) {
    const Pieces fields = fieldsOf(payload, 2, "source,zones");
    return {idIn(fields[0]), zonesIn(fields[1]), false};
}

ZonesRequest decodeDetachZones(std::string_view payload) {
    if (pieces(payload, ',').size() == 1) {
        return {idIn(payload), {}, true};
    }
    return decodeAttachZones(payload);
}

GainRequest decodeGain(std::string_view payload, int highest) {
    constexpr int lowest = -96;
    const Pieces fields = fieldsOf(payload, 4, "id,level,flag,flag");
    GainRequest request;
    request.id = idIn(fields[0]);
    request.level = within("level", [&] { return decimalNumber(fields[1]); });
    if (request.level < lowest || request.level > highest) {
        throw Refused("gain out of range, expected " + std::to_string(lowest) + " to " +
                      std::to_string(highest) + " dB");
    }
    within("first flag", [&] { return flagIn(fields[2]); });
    within("second flag", [&] { return flagIn(fields[3]); });
    return request;
}

MonitoringRequest decodeMonitoring(std::string_view payload) {
    const Pieces fields = fieldsOf(payload, 2, "flag,sink");
    return {idIn(fields[1]), within("flag", [&] { return flagIn(fields[0]); })};
}

ActivationRequest decodeActivation(std::string_view payload) {
    constexpr int highestPriority = 100;
    refuseNul(payload);
    const Pieces fields = firstFields(payload, 4);
    if (fields.size() != 2 && fields.size() != 4) {
        throw Refused("expected source,priority or source,priority,preChime,displayText");
    }
    ActivationRequest request;
    request.sourceId = idIn(fields[0]);
    request.priority = within("priority", [&] { return wholeNumber<int>(fields[1]); });
    if (request.priority < 0 || request.priority > highestPriority) {
        throw Refused("priority " + std::to_string(request.priority) +
                      " is out of range, expected 0 to " + std::to_string(highestPriority));
    }
    if (fields.size() == 4) {
        request.preChime = fields[2];
        request.displayText = fields[3];
    }
    return request;
}

int decodeId(std::string_view payload) {
    return idIn(payload);
}

}  // namespace simserver
