// SPDX-License-Identifier: Apache-2.0
#include "bench/controller/jsonFields.h"

#include <cstdio>

namespace bench {

namespace {

using Tokens = std::vector<std::string>;

std::string jsonOf(int value) {
    return std::to_string(value);
}
std::string jsonOf(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}
std::string jsonOf(const std::string& value) {
    std::string text;
    for (const char c : value) {
        text += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    }
    return '"' + text + '"';
}
template <class Value, class... More>
std::string jsonArray(const Value& value, const More&... more) {
    std::string text = '[' + value;
    ((text += ',' + more), ...);
    return text + ']';
}
template <class Values, class Text>
std::string jsonList(const Values& values, Text textOf) {
    std::string text;
    for (const auto& value : values) {
        text += (text.empty() ? "" : ",") + textOf(value);
    }
    return '[' + text + ']';
}
std::string jsonOf(const Tokens& values) {
    return jsonList(values, [](const std::string& value) { return jsonOf(value); });
}

void take(std::string& to, simdjson::ondemand::value value) {
    to = std::string_view(value.get_string().value());
}
void take(int& to, simdjson::ondemand::value value) {
    to = static_cast<int>(value.get_int64().value());
}

}  // namespace

template <class Value>
void JsonText::append(const Value& value) {
    text_ += (text_.empty() ? "" : ",") + jsonOf(value);
}
template void JsonText::append(const int&);
template void JsonText::append(const double&);
template void JsonText::append(const std::string&);
template void JsonText::append(const Tokens&);

void JsonText::numbers(std::initializer_list<int*> to) {
    fields_.numbers(to);
    text_ += ',' + jsonList(to, [](const int* number) { return std::to_string(*number); });
}

void JsonText::content(AnnouncementRequest& to) {
    fields_.content(to);
    text_ += ',' + jsonArray(jsonOf(to.messageContent), jsonOf(int{to.getAudioMessageType()}),
                             jsonOf(to.zones));
}

void JsonText::audioPart(ScheduleDefinition& to) {
    fields_.audioPart(to);
    const std::string items =
        jsonList(to.dictionaryItems, [](unsigned item) { return std::to_string(item); });
    const std::string spoken = jsonList(to.ttsList, [](const TTSVocalizer& text) {
        return jsonArray(jsonOf(text.language), jsonOf(text.voice), jsonOf(text.rate),
                         jsonOf(text.text));
    });
    text_ += ',' + jsonArray(jsonOf(int{to.announcementType}), jsonOf(to.paZones), items,
                             jsonOf(to.repeatCnt), spoken, jsonOf(to.storedDataSourceId),
                             jsonOf(to.storedDataFilePath), jsonOf(to.gain), jsonOf(to.chime));
}

void JsonText::visualPart(ScheduleDefinition& to) {
    fields_.visualPart(to);
    const std::string variables =
        jsonList(to.displayTemplateKeyValueList, [](const auto& variable) {
            return jsonArray(jsonOf(variable.first), jsonOf(variable.second));
        });
    text_ += ',' + jsonArray(jsonOf(int{to.visualAnnouncementType}), jsonOf(to.displayTemplateName),
                             variables, jsonOf(to.displayTemplateValidityPeriodSeconds));
}

simdjson::ondemand::value JsonFields::next() {
    if (hasBegun_) {
        ++place_;
    }
    hasBegun_ = true;
    return (*place_).value();
}

simdjson::ondemand::array JsonFields::nextArray() {
    return next().get_array().value();
}

void JsonFields::list(Tokens& to) {
    std::size_t count = 0;
    for (auto value : nextArray()) {
        if (count == to.size()) {
            to.emplace_back();
        }
        take(to[count++], value.value());
    }
    to.resize(count);
}

void JsonFields::numbers(std::initializer_list<int*> to) {
    const auto* place = to.begin();
    for (auto value : nextArray()) {
        take(**place++, value.value());
    }
}

void JsonFields::content(AnnouncementRequest& to) {
    JsonFields inner(nextArray());
    int type = 0;
    inner.quoted(to.messageContent);
    inner.number(type);
    to.setAudioMessageType(static_cast<Message::Type>(type));
    inner.list(to.zones);
}

void JsonFields::audioPart(ScheduleDefinition& to) {
    JsonFields part(nextArray());
    part.number(to.announcementType);
    part.list(to.paZones);
    to.dictionaryItems.clear();
    for (auto item : part.nextArray()) {
        to.dictionaryItems.push_back(static_cast<unsigned>(item.get_int64().value()));
    }
    part.number(to.repeatCnt);
    to.ttsList.clear();
    for (auto entry : part.nextArray()) {
        JsonFields spoken(entry.get_array().value());
        TTSVocalizer& text = to.ttsList.emplace_back();
        spoken.text(text.language);
        spoken.text(text.voice);
        spoken.number(text.rate);
        spoken.text(text.text);
    }
    part.number(to.storedDataSourceId);
    part.text(to.storedDataFilePath);
    part.decimal(to.gain);
    part.text(to.chime);
}

void JsonFields::visualPart(ScheduleDefinition& to) {
    JsonFields part(nextArray());
    part.number(to.visualAnnouncementType);
    part.text(to.displayTemplateName);
    to.displayTemplateKeyValueList.clear();
    for (auto entry : part.nextArray()) {
        JsonFields pair(entry.get_array().value());
        std::string key;
        pair.text(key);
        pair.text(to.displayTemplateKeyValueList[key]);
    }
    part.number(to.displayTemplateValidityPeriodSeconds);
}

}  // namespace bench
