// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/ScheduleRecord.h"

#include "simserver/protocol/FieldText.h"

namespace simserver {

namespace {

using Texts = std::vector<std::string>;

/// Numbers with a separator between them; no reader needs them quoted.
template <class Numbers>
std::string numberList(const Numbers& numbers, char separator) {
    std::string list;
    for (const auto number : numbers) {
        list += (list.empty() ? "" : std::string(1, separator)) + std::to_string(number);
    }
    return list;
}

// Each of these is the content of a part as the split between the part's fields leaves it.

// Split at !, then at ^: item^item!repeats
std::string scheduledText(const DictionaryContent& content) {
    return numberList(content.items, '^') + "!" + std::to_string(content.repeats);
}

// Split at !, then at ^: language^voice^rate^text, with ! between
std::string scheduledText(const SpokenContent& content) {
    Texts entries;
    for (const SpokenText& spoken : content.texts) {
        entries.push_back(quotedList(
            {spoken.language, spoken.voice, std::to_string(spoken.rate), spoken.text}, '^'));
    }
    return quotedList(entries, '!');
}

// Split at ^: origin^path
std::string scheduledText(const RecordedContent& content) {
    return std::to_string(content.originId) + "^" + quotedText(content.path);
}

// Translated, then split at !, at ^ and at =: key=value^key=value!validity
std::string scheduledText(const ScreenContent& content) {
    Texts pairs;
    for (const auto& [key, value] : content.variables) {
        pairs.push_back(quotedText(key) + "=" + quotedText(value));
    }
    return quotedText(quotedText(quotedList(pairs, '^')) + "!" + std::to_string(content.validity));
}

// Translated, then split at the commas: type,origin,zones,content,gain,chime. The zones are
// translated once more and split at ^; the chime is split at ^.
std::string partField(const SchedulePart& part) {
    const std::string content = std::visit(
        [](const auto& alternative) { return scheduledText(alternative); }, part.content);
    const std::string chime = part.chime.empty() ? "" : quotedText(quotedText(part.chime));
    return quotedText(std::to_string(part.type->number) + "," + quotedText(part.origin) + "," +
                      quotedText(quotedText(quotedList(part.zones, '^'))) + "," +
                      quotedText(content) + "," + (part.gain ? decimalText(*part.gain) : "") + "," +
                      chime);
}

std::string dayField(const LocalMinute& time) {
    return numberList(std::vector<int>{time.year, time.month, time.day}, ':');
}
std::string timeField(const LocalMinute& time) {
    return numberList(std::vector<int>{time.hour, time.minute}, ':');
}

}  // namespace

pa::RecordFields scheduleRecord(const Schedule& schedule) {
    const RunTimes& times = schedule.times;
    pa::RecordFields fields = {
        quotedText(schedule.description),
        dayField(times.start),
        timeField(times.start),
        dayField(times.end),
        timeField(times.end),
        std::to_string(times.dayMask),
        std::to_string(times.frequency),
        schedule.relative ? "1" : "0",
        std::to_string(schedule.level),
        std::nullopt,  // 9: the audio part
        std::nullopt,  // 10: the visual part
    };
    for (const SchedulePart& part : schedule.parts) {
        fields.set(part.type->medium == Medium::Audio ? 9 : 10, partField(part));
    }
    return fields;
}

}  // namespace simserver
