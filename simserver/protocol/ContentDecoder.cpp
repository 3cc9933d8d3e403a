// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/ContentDecoder.h"

namespace simserver {

const PartType& decodeType(const NamedField& field) {
    const int number = field.inner(field.text(), "announcement type").integer();
    const PartType* const type = findType(number);
    if (type == nullptr) {
        field.refuse("unknown announcement type " + std::to_string(number));
    }
    return *type;
}

const PartType& decodePlayedType(const NamedField& field) {
    const PartType& type = decodeType(field);
    if (type.form == ContentForm::None) {
        field.refuse(std::string("announcement type ") + type.name + " " + type.whyNot);
    }
    return type;
}

bool decodeRelative(const NamedField& field) {
    const int mode = field.inner(field.text(), "priority mode").integer();
    if (mode != 0 && mode != 1) {
        field.refuse("unknown priority mode " + std::to_string(mode));
    }
    return mode == 1;
}

std::vector<std::string> decodeZones(const NamedField& field, ContentForm form) {
    if (field.isEmpty()) {
        field.refuse("no zones");
    }
    std::vector<std::string> zones;
    for (FieldReader in(field, '^'); !in.atEnd();) {
        zones.push_back(form == ContentForm::Text ? in.text() : in.decodedText());
    }
    return zones;
}

DictionaryContent decodeDictionary(const NamedField& field) {
    FieldReader in(field, '!');
    in.expect(2, "items!repeats");
    const NamedField items = in.field();
    if (items.isEmpty()) {
        field.refuse("no dictionary items");
    }
    DictionaryContent content;
    for (FieldReader list(items, '^'); !list.atEnd();) {
        content.items.push_back(list.field("item").natural());
    }
    content.repeats = in.integer("repeats");
    if (content.repeats < 0) {
        field.refuse("negative number of repeats");
    }
    return content;
}

RecordedContent decodeRecorded(const NamedField& field) {
    FieldReader in(field, '^');
    const std::string origin = in.plainText("origin");
    const std::string path = in.atEnd() ? "" : in.rest().text();
    if (path.empty()) {
        field.refuse("no recorded file");
    }
    return {field.inner(origin, "origin").integer(), path};
}

SpokenContent decodeSpoken(const NamedField& field) {
    if (field.isEmpty()) {
        field.refuse("no text to speak");
    }
    SpokenContent content;
    for (FieldReader entries(field, '!'); !entries.atEnd();) {
        FieldReader in(entries.field().decoded(), '^');
        in.expect(4, "language^voice^rate^text");
        content.texts.push_back(
            {in.text("language"), in.text("voice"), in.integer("rate"), in.decodedText("text")});
    }
    return content;
}

}  // namespace simserver
