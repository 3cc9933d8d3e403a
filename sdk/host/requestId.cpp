// SPDX-License-Identifier: Apache-2.0
#include "sdk/host/requestId.h"

#include <algorithm>
#include <iterator>

#include "framework/fieldEncoding.h"

namespace pa {

namespace {

enum class Encoding { Plain, Prepared };

/// Where the payload of an operation has the identifier.
struct IdPlace {
    OperationType type;
    int field;  // between commas, counted from 0
    Encoding encoding;
    char end;  // what follows the identifier inside the field; 0 when it is the whole field
};

constexpr IdPlace idPlaces[] = {
    {operations::playMessage, 0, Encoding::Prepared, 0},    // "id",...
    {operations::cancelMessage, 0, Encoding::Prepared, 0},  // "id" or "",type
    {operations::putSchedule, 1, Encoding::Prepared, '~'},  // number,"uuid~description",...
    {operations::retrieveAudio, 0, Encoding::Plain, 0},     // id,...
};

/// Where the field that begins at `start` ends. A comma between quotes belongs to the field.
std::size_t endOfField(const std::string& payload, std::size_t start, Encoding encoding) {
    bool quoted = false;
    for (std::size_t i = start; i < payload.size(); ++i) {
        const char c = payload[i];
        if (c == ',' && !quoted) {
            return i;
        }
        if (encoding == Encoding::Prepared && c == '"') {
            quoted = !quoted;
        } else if (quoted && c == '\\') {
            ++i;  // what is escaped
        }
    }
    return payload.size();
}

}  // namespace

std::string requestIdOf(OperationType type, const std::string& payload) {
    const auto* const place =
        std::find_if(std::begin(idPlaces), std::end(idPlaces),
                     [&](const IdPlace& candidate) { return candidate.type == type; });
    if (place == std::end(idPlaces)) {
        return {};
    }
    std::size_t start = 0;
    for (int i = 0; i < place->field; ++i) {
        start = std::min(endOfField(payload, start, place->encoding) + 1, payload.size());
    }
    const std::size_t end = endOfField(payload, start, place->encoding);
    std::string id = payload.substr(start, end - start);
    if (place->encoding == Encoding::Prepared) {
        translateElemStringFieldFromSvr(id);
    }
    return place->end == 0 ? id : id.substr(0, id.find(place->end));
}

}  // namespace pa
