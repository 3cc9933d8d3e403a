// SPDX-License-Identifier: Apache-2.0
// The records of schedules: their columns, and the contents of the parts of an announcement.
#include "sdk/records/scheduleRecord.h"

#include <initializer_list>
#include <string>
#include <string_view>

#include "framework/log.h"
#include "resource/common/stringUtils.h"
#include "sdk/records/recordColumns.h"

using namespace pa;

namespace {

constexpr char handler[] = "updateScheduleList";

/// The most bad items of one record that have a line each; further ones are counted.
constexpr std::size_t mostBadItemLines = 16;

void reportBadItem(ScheduleRecord& record, const char* item) {
    if (++record.badItems <= mostBadItemLines) {
        handleError(3, "%s: failed to extract key value pair from >%s<", handler, item);
    }
}

void reportFurtherBadItems(const ScheduleRecord& record) {
    if (record.badItems > mostBadItemLines) {
        handleError(3, "%s: %zu more bad items of schedule Id >%d<", handler,
                    record.badItems - mostBadItemLines, record.Id);
    }
}

/// The text of a token, empty for none.
const char* textOf(const char* token) {
    return token != nullptr ? token : "";
}

struct NumberOr {
    int ScheduleDefinition::*member;
    int missing;
};

/// Numbers with colons between them.
void takeNumbers(ScheduleRecord& schedule, const char* text,
                 std::initializer_list<NumberOr> numbers) {
    assignDecoded(schedule.numbers, text);
    TokenReader tokens(schedule.numbers.data(), ':');
    for (const NumberOr& number : numbers) {
        const char* const token = tokens.next();
        schedule.*number.member = token != nullptr ? decodeInt(token) : number.missing;
    }
}

constexpr Column<ScheduleRecord> columns[] = {
    translated<&ScheduleRecord::descrption>,
    [](ScheduleRecord& record, const char* text) {
        takeNumbers(record, text,
                    {{&ScheduleDefinition::startYear, 1970},
                     {&ScheduleDefinition::startMonth, 1},
                     {&ScheduleDefinition::startDay, 1}});
    },
    [](ScheduleRecord& record, const char* text) {
        takeNumbers(record, text,
                    {{&ScheduleDefinition::startHour, 0}, {&ScheduleDefinition::startMinute, 0}});
    },
    [](ScheduleRecord& record, const char* text) {
        takeNumbers(record, text,
                    {{&ScheduleDefinition::endYear, 2050},
                     {&ScheduleDefinition::endMonth, 12},
                     {&ScheduleDefinition::endDay, 30}});
    },
    [](ScheduleRecord& record, const char* text) {
        takeNumbers(record, text,
                    {{&ScheduleDefinition::endHour, 0}, {&ScheduleDefinition::endMinute, 0}});
    },
    integer<&ScheduleRecord::dayMask>,
    integer<&ScheduleRecord::frequency>,
    integer<&ScheduleRecord::priorityMode>,
    integer<&ScheduleRecord::priorityLevel>,
    encoded<&ScheduleRecord::audioPart>,
    encoded<&ScheduleRecord::visualPart>,
};

// Each of these reads the content of a part, which it may overwrite, and returns whether the record
// is good.

// item^item!repeats
bool takeItems(ScheduleRecord& schedule, char* content) {
    TokenReader pieces(content, '!');
    char* const list = pieces.next();
    if (list == nullptr) {
        handleError(3,
                    "%s: failed to parse schedule as message contents is empty,  Schedule Id >%d<",
                    handler, schedule.Id);
        return false;
    }
    TokenReader items(list, '^');
    while (const char* const item = items.next()) {
        schedule.dictionaryItems.push_back(static_cast<unsigned>(decodeInt(item)));
    }
    const char* const repeats = pieces.next();
    schedule.repeatCnt = repeats != nullptr ? decodeInt(repeats) : 1;
    return true;
}

// language^voice^rate^text
bool takeSpokenText(ScheduleRecord& schedule, const char* entry) {
    std::string list = entry;
    TokenReader tokens(list.data(), '^');
    const char* const language = tokens.next();
    const char* const voice = tokens.next();
    const char* const rate = tokens.next();
    const char* const text = tokens.next();
    if (text == nullptr || tokens.next() != nullptr) {
        handleError(3,
                    "%s: schedule description >%s< failed. insufficient TTS entry parameters >%s<",
                    handler, schedule.descrption.c_str(), entry);
        return false;
    }
    TTSVocalizer& spoken = schedule.ttsList.emplace_back();
    spoken.language = language;
    spoken.voice = voice;
    spoken.rate = decodeInt(rate);
    spoken.text = text;
    return true;
}

// Spoken texts with ! between them
bool takeSpoken(ScheduleRecord& schedule, char* content) {
    TokenReader entries(content, '!');
    const char* entry = entries.next();
    if (entry == nullptr) {
        handleError(3, "%s: schedule description >%s< failed. insufficient message parameters >%s<",
                    handler, schedule.descrption.c_str(), content);
        return false;
    }
    for (; entry != nullptr; entry = entries.next()) {
        if (!takeSpokenText(schedule, entry)) {
            return false;
        }
    }
    return true;
}

// sourceId^path
bool takeStored(ScheduleRecord& schedule, char* content) {
    TokenReader tokens(content, '^');
    schedule.storedDataSourceId = decodeInt(textOf(tokens.next()));
    schedule.storedDataFilePath = textOf(tokens.next());
    return true;
}

// key=value
void takeVariable(ScheduleRecord& schedule, const char* item) {
    constexpr std::string_view screen = "{SCREEN}";
    std::string pair = item;
    TokenReader tokens(pair.data(), '=');
    const char* const key = tokens.next();
    const char* const value = tokens.next();
    if (value == nullptr || tokens.next() != nullptr) {
        reportBadItem(schedule, item);
    } else if (key == screen) {
        schedule.displayTemplateName = value;
    } else {
        schedule.displayTemplateKeyValueList[key] = value;
    }
}

// key=value^key=value!validity
bool takeTemplate(ScheduleRecord& schedule, char* content) {
    std::string plain = decoded(content);
    TokenReader pieces(plain.data(), '!');
    char* const list = pieces.next();
    if (list == nullptr) {
        return false;
    }
    TokenReader items(list, '^');
    while (const char* const item = items.next()) {
        takeVariable(schedule, item);
    }
    const char* const validity = pieces.next();
    const bool isValid = validity != nullptr && pieces.next() == nullptr;
    schedule.displayTemplateValidityPeriodSeconds = isValid ? decodeInt(validity) : 0;
    return true;
}

bool takeAudioContent(ScheduleRecord& schedule, char* content) {
    switch (schedule.announcementType) {
        case AT_TEV:
            return takeItems(schedule, content);
        case AT_TTS:
        case AT_TTS_SAF:
            return takeSpoken(schedule, content);
        case AT_STORED_DATA:
        case AT_STORED_DATA_SAF:
            return takeStored(schedule, content);
        case AT_DISPLAY_TEMPLATE:
            return takeTemplate(schedule, content);
        default:
            return true;
    }
}

/// A template on either side makes the content of the visual part one.
bool takeVisualContent(ScheduleRecord& schedule, char* content) {
    const bool isTemplate = schedule.announcementType == AT_DISPLAY_TEMPLATE ||
                            schedule.visualAnnouncementType == AT_DISPLAY_TEMPLATE;
    return !isTemplate || takeTemplate(schedule, content);
}

/// Reads a part into the schedule. What both parts bring, the later one decides.
/// @param text the field: type,origin,zones,content,level,chime
/// @return whether the record is good
bool takePart(ScheduleRecord& schedule, const char* text,
              AnnouncementType ScheduleDefinition::*type,
              bool (*takeContent)(ScheduleRecord&, char* content)) {
    assignDecoded(schedule.part, text);
    TokenReader tokens(schedule.part.data(), ',');
    const char* const typeNumber = tokens.next();
    if (typeNumber == nullptr) {
        return true;  // no such part
    }
    tokens.next();  // the origin
    const char* const zones = tokens.next();
    char* const content = tokens.next();
    if (content == nullptr) {
        handleError(3, "%s: schedule Id >%d< dropped: a part without content >%s<", handler,
                    schedule.Id, decoded(text).c_str());
        return false;
    }
    schedule.*type = static_cast<AnnouncementType>(decodeInt(typeNumber));
    assignDecoded(schedule.zones, zones);
    schedule.assignTexts(TokenReader(schedule.zones.data(), '^'));
    if (!takeContent(schedule, content)) {
        return false;
    }
    schedule.gain = decodeDouble(textOf(tokens.next()));
    char* const chimes = tokens.next();
    schedule.chime = chimes != nullptr ? textOf(TokenReader(chimes, '^').next()) : "";
    return true;
}

}  // namespace

bool pa::decodeSchedule(int scheduleId, const TEVlist& list, ScheduleRecord& schedule) {
    schedule.Id = scheduleId;
    decodeRecord<columns>(list, schedule);
    const bool good = takePart(schedule, schedule.audioPart, &ScheduleDefinition::announcementType,
                               takeAudioContent) &&
                      takePart(schedule, schedule.visualPart,
                               &ScheduleDefinition::visualAnnouncementType, takeVisualContent);
    reportFurtherBadItems(schedule);
    return good;
}
