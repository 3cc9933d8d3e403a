#include "simserver/protocol/RequestDecoder.h"

#include <algorithm>
#include <iterator>

#include "simserver/protocol/ContentDecoder.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

using Pieces = std::vector<std::string_view>;

/// Fields of the full form; the reduced one goes on with these.
constexpr std::size_t partFields = 6;
constexpr std::string_view reducedTail[] = {"startCondition", "stopCondition", "0", "0", "0", "0"};

bool isReduced(const Pieces& fields) {
    return fields.size() == partFields + std::size(reducedTail) && fields[5].empty() &&
           std::equal(std::begin(reducedTail), std::end(reducedTail), fields.begin() + partFields);
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
    const AnnouncementType& type = decodePlayedType(fields[0]);
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
    request.relative = decodeRelative(fields[1]);
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

void decodeRetrieval(std::string_view payload, RetrievalRequest& request) {
    const Pieces fields = pieces(payload, ',');
    request.id = fields[0];
    refuseNul(payload);
    if (fields.size() != 5) {
        throw Refused(std::to_string(fields.size()) +
                      " fields; expected id,language,voice,rate,text");
    }
    if (request.id.empty()) {
        throw Refused("no request id");
    }
    request.language = fields[1];
    request.voice = fields[2];
    request.rate = fields[3];
    request.text = within("text", [&] { return unquoted(fields[4]); });
}

}  // namespace simserver
