// SPDX-License-Identifier: Apache-2.0
#include "panel/api/contentText.h"

#include <vector>

#include "client/json.h"
#include "client/shortened.h"
#include "resource/common/stringUtils.h"

namespace papanel {

using paclient::Json;

namespace {

/// The content of a record: the fourth of its fields.
std::string contentOf(const AnnouncementRequest& record) {
    constexpr std::size_t place = 3;
    std::vector<std::string> fields;
    splitStr(record.messageContent.c_str(), ',', fields, false);
    return fields.size() > place ? fields[place] : std::string();
}

/// Of "12^40!2".
std::string itemsText(const std::string& content) {
    const std::size_t end = content.find('!');
    const std::string repeats = end == std::string::npos ? "1" : content.substr(end + 1);
    std::string items;
    for (const char c : content.substr(0, end)) {
        items += c == '^' ? std::string(", ") : std::string(1, c);
    }
    return "items " + items + (repeats == "1" ? "" : " x" + repeats);
}

/// Every text that is displayed, by `kvPairs`, `values` and `text` of its JSON.
std::string displayedText(const std::string& content) {
    constexpr const char* templateKey = "{SCREEN}";
    const Json json = Json::parse(content, nullptr, false);
    std::string texts;
    const Json pairs = json.is_object() ? json.value("kvPairs", Json()) : Json();
    for (const auto& pair : pairs.items()) {
        const Json values =
            pair.value().is_object() ? pair.value().value("values", Json()) : Json();
        for (const Json& value : values) {
            const Json text = value.is_object() ? value.value("text", Json()) : Json();
            if (text.is_string() && pair.key() != templateKey) {
                texts += (texts.empty() ? "" : " / ") + text.get<std::string>();
            }
        }
    }
    return texts;
}

}  // namespace

std::string contentText(const AnnouncementRequest& record) {
    constexpr std::size_t longest = 200;
    std::string text = contentOf(record);
    if (record.getVisualMessageType() == Message::DISPLAY_TEMPLATE) {
        text = displayedText(text);
    } else if (record.getAudioMessageType() == Message::DICTIONARY) {
        text = itemsText(text);
    } else if (record.getAudioMessageType() == Message::LIVE_STREAM) {
        text = "source " + text;
    }
    return paclient::shortened(text, longest);
}

}  // namespace papanel
