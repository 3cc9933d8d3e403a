// The records of schedules: their columns, and the contents of the parts of an announcement.
#include "sdk/records/scheduleRecord.h"

#include <initializer_list>
#include <utility>

#include "framework/log.h"
#include "resource/common/stringUtils.h"
#include "sdk/records/recordColumns.h"

using namespace pa;

namespace {

constexpr char handler[] = "updateScheduleList";

using Tokens = std::vector<std::string>;

Tokens split(const std::string& text, char separator) {
    Tokens tokens;
    splitStr(text.c_str(), separator, tokens, false);
    return tokens;
}

std::string translatedText(std::string text) {
    translateElemStringFieldFromSvr(text);
    return text;
}

/// A schedule record: the schedule, and its parts as texts.
struct ScheduleRecord : ScheduleDefinition {
    std::string audioPart;
    std::string visualPart;
    std::size_t badItems = 0;  // template items that cannot be read
};

/// The most bad items of one record that have a line each; further ones are counted.
constexpr std::size_t mostBadItemLines = 16;

void reportBadItem(ScheduleRecord& record, const std::string& item) {
    if (++record.badItems <= mostBadItemLines) {
        handleError(3, "%s: failed to extract key value pair from >%s<", handler, item.c_str());
    }
}

void reportFurtherBadItems(const ScheduleRecord& record) {
    if (record.badItems > mostBadItemLines) {
        handleError(3, "%s: %zu more bad items of schedule Id >%d<", handler,
                    record.badItems - mostBadItemLines, record.Id);
    }
}

struct NumberOr {
    int ScheduleDefinition::*member;
    int missing;
};

/// Numbers with colons between them.
void takeNumbers(ScheduleDefinition& schedule, const char* text,
                 std::initializer_list<NumberOr> numbers) {
    const Tokens tokens = split(translatedText(text), ':');
    std::size_t i = 0;
    for (const NumberOr& number : numbers) {
        schedule.*number.member = i < tokens.size() ? decodeInt(tokens[i].c_str()) : number.missing;
        ++i;
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
    translated<&ScheduleRecord::audioPart>,
    translated<&ScheduleRecord::visualPart>,
};

/// The places of the tokens of a part.
enum PartToken : std::size_t { Type, Origin, Zones, Content, Level, Chime };

// Each of these reads the content of a part and returns whether the record is good.

// item^item!repeats
bool takeItems(ScheduleRecord& schedule, const std::string& content) {
    const Tokens pieces = split(content, '!');
    if (pieces.empty()) {
        handleError(3,
                    "%s: failed to parse schedule as message contents is empty,  Schedule Id >%d<",
                    handler, schedule.Id);
        return false;
    }
    for (const std::string& item : split(pieces[0], '^')) {
        schedule.dictionaryItems.push_back(static_cast<unsigned>(decodeInt(item.c_str())));
    }
    schedule.repeatCnt = pieces.size() > 1 ? decodeInt(pieces[1].c_str()) : 1;
    return true;
}

// Entries with ! between them: language^voice^rate^text
bool takeSpoken(ScheduleRecord& schedule, const std::string& content) {
    const Tokens entries = split(content, '!');
    if (entries.empty()) {
        handleError(3, "%s: schedule description >%s< failed. insufficient message parameters >%s<",
                    handler, schedule.descrption.c_str(), content.c_str());
        return false;
    }
    for (const std::string& entry : entries) {
        const Tokens tokens = split(entry, '^');
        if (tokens.size() != 4) {
            handleError(
                3, "%s: schedule description >%s< failed. insufficient TTS entry parameters >%s<",
                handler, schedule.descrption.c_str(), entry.c_str());
            return false;
        }
        TTSVocalizer spoken;
        spoken.language = tokens[0];
        spoken.voice = tokens[1];
        spoken.rate = decodeInt(tokens[2].c_str());
        spoken.text = tokens[3];
        schedule.ttsList.push_back(spoken);
    }
    return true;
}

// sourceId^path
bool takeStored(ScheduleRecord& schedule, const std::string& content) {
    const Tokens tokens = split(content, '^');
    schedule.storedDataSourceId = tokens.empty() ? 0 : decodeInt(tokens[0].c_str());
    schedule.storedDataFilePath = tokens.size() > 1 ? tokens[1] : "";
    return true;
}

// key=value^key=value!validity
bool takeTemplate(ScheduleRecord& schedule, const std::string& content) {
    const Tokens pieces = split(translatedText(content), '!');
    if (pieces.empty()) {
        return false;
    }
    for (const std::string& item : split(pieces[0], '^')) {
        const Tokens pair = split(item, '=');
        if (pair.size() != 2) {
            reportBadItem(schedule, item);
        } else if (pair[0] == "{SCREEN}") {
            schedule.displayTemplateName = pair[1];
        } else {
            schedule.displayTemplateKeyValueList[pair[0]] = pair[1];
        }
    }
    schedule.displayTemplateValidityPeriodSeconds =
        pieces.size() == 2 ? decodeInt(pieces[1].c_str()) : 0;
    return true;
}

bool takeAudioContent(ScheduleRecord& schedule, const std::string& content) {
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
bool takeVisualContent(ScheduleRecord& schedule, const std::string& content) {
    const bool isTemplate = schedule.announcementType == AT_DISPLAY_TEMPLATE ||
                            schedule.visualAnnouncementType == AT_DISPLAY_TEMPLATE;
    return !isTemplate || takeTemplate(schedule, content);
}

/// Reads a part into the schedule. What both parts bring, the later one decides.
/// @return whether the record is good
bool takePart(ScheduleRecord& schedule, const std::string& text,
              AnnouncementType ScheduleDefinition::*type,
              bool (*takeContent)(ScheduleRecord&, const std::string&)) {
    const Tokens tokens = split(text, ',');
    if (tokens.empty()) {
        return true;  // no such part
    }
    if (tokens.size() <= Content) {
        handleError(3, "%s: schedule Id >%d< dropped: a part without content >%s<", handler,
                    schedule.Id, text.c_str());
        return false;
    }
    schedule.*type = static_cast<AnnouncementType>(decodeInt(tokens[Type].c_str()));
    schedule.paZones = split(translatedText(tokens[Zones]), '^');
    if (!takeContent(schedule, tokens[Content])) {
        return false;
    }
    const auto tokenOr = [&tokens](PartToken at) { return at < tokens.size() ? tokens[at] : ""; };
    schedule.gain = decodeDouble(tokenOr(Level).c_str());
    const Tokens chimes = split(tokenOr(Chime), '^');
    schedule.chime = chimes.empty() ? "" : chimes[0];
    return true;
}

}  // namespace

std::optional<ScheduleDefinition> pa::decodeSchedule(int scheduleId, const TEVlist& list) {
    ScheduleRecord record;
    record.Id = scheduleId;
    decodeRecord<columns>(list, record);
    const bool good = takePart(record, record.audioPart, &ScheduleDefinition::announcementType,
                               takeAudioContent) &&
                      takePart(record, record.visualPart,
                               &ScheduleDefinition::visualAnnouncementType, takeVisualContent);
    reportFurtherBadItems(record);
    return good ? std::optional<ScheduleDefinition>(std::move(record)) : std::nullopt;
}
