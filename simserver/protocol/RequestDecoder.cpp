// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/RequestDecoder.h"

#include "simserver/protocol/ContentDecoder.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

/// A part has six fields; in its reduced form the last is empty, and these follow.
constexpr std::size_t partFields = 6;
constexpr std::size_t reducedFields = 12;
constexpr const char* reducedTail = ",startCondition,stopCondition,0,0,0,0";

[[noreturn]] void refuseCount(const FieldReader& in, std::size_t count, const char* layout) {
    in.refuse(std::to_string(count) + " fields; expected " + layout);
}

Content decodeContent(ContentForm form, const NamedField& field) {
    const auto text = [&field] { return field.isEmpty() ? std::string() : field.decodedText(); };
    switch (form) {
        case ContentForm::Recorded:
            return decodeRecorded(field);
        case ContentForm::Dictionary:
            return decodeDictionary(field);
        case ContentForm::Text:
            return TextContent{text()};
        case ContentForm::Spoken:
            return decodeSpoken(field);
        case ContentForm::Template:
            return decodeTemplate(field.inner(text(), ""));
        case ContentForm::None:
            break;
    }
    field.refuse("the server does not play this type");
}

// before^after^0
void decodeChimes(const NamedField& field, RequestPart& part) {
    FieldReader in(field, '^');
    in.expect(3, "before^after^0");
    part.preChime = in.integer("before");
    part.postChime = in.integer("after");
    if (in.text() != "0") {
        field.refuse("expected before^after^0");
    }
}

RequestPart decodePart(const NamedField& field) {
    constexpr const char* layout = "type,origin,zones,content,gain,chimes";
    FieldReader in(field.decoded());
    const std::size_t count = in.count();
    RequestPart part;
    part.type = &decodePlayedType(in.field());
    if (count != partFields && count != reducedFields) {
        refuseCount(in, count, layout);
    }
    part.origin = in.text("origin");
    part.zones = decodeZones(in.field("zones"), part.type->form);
    part.content = decodeContent(part.type->form, in.field("content"));
    if (const NamedField gain = in.field("gain"); !gain.isEmpty()) {
        part.gain = gain.decimal();
    }
    const NamedField chimes = in.rest("chimes");
    if (count == partFields) {
        decodeChimes(chimes, part);
    } else if (chimes.text() != reducedTail) {
        refuseCount(in, count, layout);
    }
    return part;
}

}  // namespace

void decodePlay(std::string_view payload, RequestToPlay& request) {
    refuseNul(payload);
    FieldReader in(payload);
    const std::size_t count = in.count();
    request.id = in.decodedText("request id");
    if (count < 4 || count > 5) {
        refuseCount(in, count, "id,mode,level and one or two parts");
    }
    request.relative = decodeRelative(in.field());
    request.level = in.integer("priority level");
    while (!in.atEnd()) {
        const std::string name = "part " + std::to_string(request.parts.size() + 1);
        request.parts.push_back(decodePart(in.field(name)));
    }
    if (request.parts.size() == 2 &&
        request.parts[0].type->medium == request.parts[1].type->medium) {
        in.refuse("two audio parts or two visual parts; expected one of each");
    }
}

CancelRequest decodeCancel(std::string_view payload) {
    refuseNul(payload);
    FieldReader in(payload);
    CancelRequest request;
    request.id = in.decodedText("request id");
    if (in.count() != (request.id.empty() ? 1U : 0U)) {
        in.refuse("expected either a request id or \"\",type");
    }
    if (request.id.empty()) {
        request.type = &decodeType(in.field());
    }
    return request;
}

void decodeRetrieval(std::string_view payload, RetrievalRequest& request) {
    FieldReader in(payload);
    const std::size_t count = in.count();
    request.id = in.text("request id");
    refuseNul(payload);
    if (count != 5) {
        refuseCount(in, count, "id,language,voice,rate,text");
    }
    if (request.id.empty()) {
        in.refuse("no request id");
    }
    request.language = in.text("language");
    request.voice = in.text("voice");
    request.rate = in.text("rate");
    request.text = in.decodedText("text");
}

}  // namespace simserver
