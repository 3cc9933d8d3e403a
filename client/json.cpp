// SPDX-License-Identifier: Apache-2.0
#include "client/json.h"

#include <utility>

namespace paclient {

namespace {

std::string dumped(const Json& json) {
    constexpr int oneLine = -1;
    constexpr bool asciiOnly = false;
    return json.dump(oneLine, ' ', asciiOnly, Json::error_handler_t::replace);
}

}  // namespace

void addMember(Json& object, const char* name, Json value) {
    object[name] = std::move(value);
}

void addText(Json& object, const char* name, const std::string& text, JsonTexts texts) {
    if (texts == JsonTexts::Beside) {
        object[std::string(name) + "Text"] = text;
    }
}

std::string jsonLine(const Json& json) {
    return dumped(json) + '\n';
}

std::string jsonLines(const Json& json) {
    if (!json.is_array() || json.empty()) {
        return jsonLine(json);
    }
    std::string text = "[";
    for (std::size_t i = 0; i < json.size(); ++i) {
        text += (i == 0 ? "\n  " : ",\n  ") + dumped(json[i]);
    }
    return text + "\n]\n";
}

}  // namespace paclient
