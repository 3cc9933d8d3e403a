#include "simserver/protocol/ContentDecoder.h"

#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

using Pieces = std::vector<std::string_view>;

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

}  // namespace

const AnnouncementType& decodeType(std::string_view text) {
    const int number = within("announcement type", [&] { return wholeNumber<int>(text); });
    const AnnouncementType* const type = findType(number);
    if (type == nullptr) {
        throw Refused("unknown announcement type " + std::to_string(number));
    }
    return *type;
}

const AnnouncementType& decodePlayedType(std::string_view text) {
    const AnnouncementType& type = decodeType(text);
    if (type.form == ContentForm::None) {
        throw Refused(std::string("announcement type ") + type.name + " " + type.whyNot);
    }
    return type;
}

bool decodeRelative(std::string_view text) {
    const int mode = within("priority mode", [&] { return wholeNumber<int>(text); });
    if (mode != 0 && mode != 1) {
        throw Refused("unknown priority mode " + std::to_string(mode));
    }
    return mode == 1;
}

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

RecordedContent decodeRecorded(std::string_view text) {
    const std::size_t separator = text.find('^');
    if (separator == std::string_view::npos || separator + 1 == text.size()) {
        throw Refused("no recorded file");
    }
    const int origin =
        within("origin", [&] { return wholeNumber<int>(text.substr(0, separator)); });
    return {origin, std::string(text.substr(separator + 1))};
}

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

}  // namespace simserver
