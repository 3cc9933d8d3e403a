#include "simserver/RequestDecoder.h"

#include <algorithm>
#include <iterator>

#include "simserver/FieldText.h"
#include "simserver/Refused.h"

namespace simserver {

namespace {

using Pieces = std::vector<std::string_view>;

/// Fields of the full form; the reduced one goes on with these.
constexpr std::size_t partFields = 6;
constexpr std::string_view reducedTail[] = {"startCondition", "stopCondition", "0", "0", "0", "0"};

void refuseNul(std::string_view payload) {
    if (payload.find('\0') != std::string_view::npos) {
        throw Refused("the payload holds a NUL byte");
    }
}

const AnnouncementType& decodeType(std::string_view text) {
    const int number = within("announcement type", [&] { return wholeNumber<int>(text); });
    const AnnouncementType* const type = findType(number);
    if (type == nullptr) {
        throw Refused("unknown announcement type " + std::to_string(number));
    }
    return *type;
}

bool isReduced(const Pieces& fields) {
    return fields.size() == partFields + std::size(reducedTail) && fields[5].empty() &&
           std::equal(std::begin(reducedTail), std::end(reducedTail), fields.begin() + partFields);
}

// zone^zone; the devices of a plain text stand there as they are
std::vector<std::string> decodeZones(std::string_view list, ContentForm form) {
    if (list.empty()) {
        throw Refused("no zones");
    }
    std::vector<std::string> zones;
    for (const std::string_view zone : pieces(list, '^')) {
        zones.push_back(form == ContentForm::Text ? std::string(zone) : unquoted(zone));
    }
    return zones;
}

// server^path
RecordedContent decodeRecorded(std::string_view text) {
    const std::size_t separator = text.find('^');
    if (separator == std::string_view::npos || separator + 1 == text.size()) {
        throw Refused("no recorded file");
    }
    return {std::string(text.substr(separator + 1))};
}

// item^item!repeats
DictionaryContent decodeDictionary(std::string_view text) {
    const Pieces parts = pieces(text, '!');
    if (parts.size() != 2) {
        throw Refused("expected items!repeats");
    }
    if (parts[0].empty()) {
        throw Refused("no dictionary items");
    }
    DictionaryContent content;
    for (const std::string_view item : pieces(parts[0], '^')) {
        content.items.push_back(within("item", [&] { return wholeNumber<unsigned>(item); }));
    }
    content.repeats = within("repeats", [&] { return wholeNumber<int>(parts[1]); });
    if (content.repeats < 0) {
        throw Refused("negative number of repeats");
    }
    return content;
}

// language^voice^rate^text
SpokenText decodeSpokenText(std::string_view entry) {
    const std::string text = unquoted(entry);
    const Pieces fields = pieces(text, '^');
    if (fields.size() != 4) {
        throw Refused("expected language^voice^rate^text");
    }
    return {std::string(fields[0]), std::string(fields[1]),
            within("rate", [&] { return wholeNumber<int>(fields[2]); }),
            within("text", [&] { return unquoted(fields[3]); })};
}

// entry!entry
SpokenContent decodeSpoken(std::string_view text) {
    if (text.empty()) {
        throw Refused("no text to speak");
    }
    SpokenContent content;
    for (const std::string_view entry : pieces(text, '!')) {
        content.texts.push_back(decodeSpokenText(entry));
    }
    return content;
}

Content decodeContent(ContentForm form, std::string_view text) {
    switch (form) {
        case ContentForm::Recorded:
            return decodeRecorded(text);
        case ContentForm::Dictionary:
            return decodeDictionary(text);
        case ContentForm::Text:
            return TextContent{text.empty() ? std::string() : unquoted(text)};
        case ContentForm::Spoken:
            return decodeSpoken(text);
        case ContentForm::Template:
            return decodeTemplate(text.empty() ? std::string() : unquoted(text));
        case ContentForm::None:
            break;
    }
    throw Refused("the server does not play this type");
}

// before^after^0
void decodeChimes(std::string_view text, RequestPart& part) {
    const Pieces chimes = pieces(text, '^');
    if (chimes.size() != 3 || chimes[2] != "0") {
        throw Refused("expected before^after^0");
    }
    part.preChime = wholeNumber<int>(chimes[0]);
    part.postChime = wholeNumber<int>(chimes[1]);
}

RequestPart decodePart(std::string_view encoded) {
    const std::string text = unquoted(encoded);
    const Pieces fields = pieces(text, ',');
    const AnnouncementType& type = decodeType(fields[0]);
    if (type.form == ContentForm::None) {
        throw Refused(std::string("announcement type ") + type.name + " " + type.whyNot);
    }
    const bool reduced = isReduced(fields);
    if (!reduced && fields.size() != partFields) {
        throw Refused(std::to_string(fields.size()) +
                      " fields; expected type,origin,zones,content,gain,chimes");
    }
    RequestPart part;
    part.type = &type;
    part.origin = fields[1];
    part.zones = within("zones", [&] { return decodeZones(fields[2], type.form); });
    part.content = within("content", [&] { return decodeContent(type.form, fields[3]); });
    if (!fields[4].empty()) {
        part.gain = within("gain", [&] { return decimalNumber(fields[4]); });
    }
    if (!reduced) {
        within("chimes", [&] { decodeChimes(fields[5], part); });
    }
    return part;
}

}  // namespace

void decodePlay(std::string_view payload, PlayRequest& request) {
    refuseNul(payload);
    const Pieces fields = pieces(payload, ',');
    request.id = within("request id", [&] { return unquoted(fields[0]); });
    if (fields.size() < 4 || fields.size() > 5) {
        throw Refused(std::to_string(fields.size()) +
                      " fields; expected id,mode,level and one or two parts");
    }
    const int mode = within("priority mode", [&] { return wholeNumber<int>(fields[1]); });
    if (mode != 0 && mode != 1) {
        throw Refused("unknown priority mode " + std::to_string(mode));
    }
    request.relative = mode == 1;
    request.level = within("priority level", [&] { return wholeNumber<int>(fields[2]); });
    for (std::size_t i = 3; i < fields.size(); ++i) {
        request.parts.push_back(
            within("part " + std::to_string(i - 2), [&] { return decodePart(fields[i]); }));
    }
    if (request.parts.size() == 2 &&
        request.parts[0].type->medium == request.parts[1].type->medium) {
        throw Refused("two parts that are both heard or both shown");
    }
}

CancelRequest decodeCancel(std::string_view payload) {
    refuseNul(payload);
    const Pieces fields = pieces(payload, ',');
    CancelRequest request;
    request.id = within("request id", [&] { return unquoted(fields[0]); });
    if (fields.size() != (request.id.empty() ? 2U : 1U)) {
        throw Refused("expected either a request id or \"\",type");
    }
    if (request.id.empty()) {
        request.type = &decodeType(fields[1]);
    }
    return request;
}

}  // namespace simserver
