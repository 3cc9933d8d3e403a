// SPDX-License-Identifier: Apache-2.0
#include "client/schedulesCheck.h"

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/json.h"
#include "client/scheduleTimes.h"
#include "sdk/records/numberText.h"

namespace paclient {

namespace {

constexpr const char* templateKey = "{SCREEN}";  // the key under which the template's name is sent

void require(bool condition, const std::string& text) {
    if (!condition) {
        throw std::invalid_argument(text);
    }
}

/// JSON writes no other text.
bool isUtf8(const std::string& text) {
    try {
        (void)Json(text).dump();
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

// ------------------------------------------------------------------------------------------ times

/// @param which "start" or "end"
template <class Part>
void requireReal(const char* which, const Part& part) {
    const std::string fault = faultOf(part);
    require(fault.empty(), std::string("the ") + which + ": " + fault);
}

std::string momentText(const Date& date, const TimeOfDay& time) {
    return dateText(date) + 'T' + timeText(time);
}

void checkTimes(const ScheduleDefinition& schedule) {
    requireReal("start", startDate(schedule));
    requireReal("start", startTime(schedule));
    requireReal("end", endDate(schedule));
    requireReal("end", endTime(schedule));
    const std::string start = momentText(startDate(schedule), startTime(schedule));
    const std::string end = momentText(endDate(schedule), endTime(schedule));
    require(start <= end, "the end, " + end + ", is before the start, " + start);
    require(schedule.dayMask > 0 && schedule.dayMask <= everyDay,
            "the mask " + std::to_string(schedule.dayMask) + " is none of days");
    require(schedule.frequency >= 0, "the frequency is negative");
}

// ------------------------------------------------------------------------------------------ texts

/// A text of a schedule.
struct NamedText {
    const char* name;
    const std::string& text;
    /// What it must not have, because it is sent as it is.
    const char* separators = "";
};

std::vector<NamedText> textsOf(const ScheduleDefinition& schedule) {
    std::vector<NamedText> texts = {{"description", schedule.descrption},
                                    {"file", schedule.storedDataFilePath, ",^\"\\"},
                                    {"template", schedule.displayTemplateName},
                                    {"chime", schedule.chime, ",^\"\\"}};
    for (const std::string& zone : schedule.paZones) {
        texts.push_back({"zone", zone});
    }
    for (const TTSVocalizer& spoken : schedule.ttsList) {
        texts.push_back({"text", spoken.text});
        texts.push_back({"language", spoken.language, "^\"\\"});
        texts.push_back({"voice", spoken.voice, "^\"\\"});
    }
    for (const auto& [key, value] : schedule.displayTemplateKeyValueList) {
        texts.push_back({"key", key});
        texts.push_back({"value", value});
    }
    return texts;
}

void check(const NamedText& named) {
    require(named.text.find('\0') == std::string::npos,
            std::string("the ") + named.name + " has a NUL character");
    const std::string what = std::string("the ") + named.name + " '" + named.text + "' ";
    require(isUtf8(named.text), what + "is not UTF-8");
    require(named.text.empty() || (named.text[0] != ' ' && named.text[0] != '\t'),
            what + "begins with a blank, which would be lost");
    require(named.text.find_first_of(named.separators) == std::string::npos,
            what + "has one of " + named.separators + ", which would part it");
}

// ---------------------------------------------------------------------------------------- content

void checkSpoken(const ScheduleDefinition& schedule) {
    require(!schedule.ttsList.empty(), "nothing to speak: a text is missing");
    for (const TTSVocalizer& spoken : schedule.ttsList) {
        require(!spoken.text.empty(), "a text is empty");
    }
}

void checkAudio(const ScheduleDefinition& schedule) {
    const AnnouncementType type = schedule.announcementType;
    if (type == AT_TEV) {
        require(!schedule.dictionaryItems.empty(), "nothing to play: items are missing");
        require(schedule.repeatCnt > 0, "items are played once at least");
    } else if (isSpoken(type)) {
        checkSpoken(schedule);
    } else if (isStored(type)) {
        require(!schedule.storedDataFilePath.empty(), "nothing to play: the file is missing");
    } else {
        require(type == AT_NONE, "announcementType " + std::to_string(type) +
                                     " is nothing that a schedule can play");
    }
}

void checkVisual(const ScheduleDefinition& schedule) {
    if (schedule.visualAnnouncementType == AT_NONE) {
        return;
    }
    require(schedule.visualAnnouncementType == AT_DISPLAY_TEMPLATE,
            "visualAnnouncementType " + std::to_string(schedule.visualAnnouncementType) +
                " is nothing that a schedule can display");
    const auto& variables = schedule.displayTemplateKeyValueList;
    require(!schedule.displayTemplateName.empty() || !variables.empty(),
            "nothing to display: the template is missing");
    require(schedule.displayTemplateValidityPeriodSeconds >= 0,
            "nothing is displayed for less than 0 s");
    require(variables.count("") == 0, "a key is empty");
    require(variables.count(templateKey) == 0,
            std::string("the key ") + templateKey + " is that of the template's name");
}

/// Members that belong to another kind of content would be lost.
void requireNothingLost(const ScheduleDefinition& schedule) {
    const Json given = toJson(schedule, JsonTexts::None);
    const Json reported = toJson(asReported(schedule), JsonTexts::None);
    for (const auto& member : reported.items()) {
        require(member.key() == "gain" || given[member.key()] == member.value(),
                "the member '" + member.key() +
                    "' does not belong to what is played and displayed, and would be lost");
    }
}

}  // namespace

void checkSchedule(const ScheduleDefinition& schedule) {
    require(schedule.Id >= 0, "the id " + std::to_string(schedule.Id) + " is negative");
    checkTimes(schedule);
    require(!schedule.paZones.empty(), "zones are missing");
    require(schedule.announcementType != AT_NONE || schedule.visualAnnouncementType != AT_NONE,
            "nothing to play or to show");
    checkAudio(schedule);
    checkVisual(schedule);
    for (const NamedText& named : textsOf(schedule)) {
        check(named);
    }
    require(std::isfinite(schedule.gain), "the gain is no number");
    require(schedule.priorityMode == APM_ABSOLUTE_PRIORITY ||
                schedule.priorityMode == APM_RELATIVE_PRIORITY,
            "priorityMode " + std::to_string(schedule.priorityMode) + " is neither 0 nor 1");
    requireNothingLost(schedule);
}

ScheduleDefinition asReported(const ScheduleDefinition& sent) {
    const ScheduleDefinition none;
    ScheduleDefinition reported = sent;
    if (reported.announcementType != AT_TEV) {
        reported.dictionaryItems = none.dictionaryItems;
        reported.repeatCnt = none.repeatCnt;
    }
    if (!isSpoken(reported.announcementType)) {
        reported.ttsList = none.ttsList;
    }
    for (TTSVocalizer& spoken : reported.ttsList) {
        const TTSVocalizer usual;
        spoken.portNo = usual.portNo;
        spoken.rate = usual.rate;
        spoken.encoding = usual.encoding;
    }
    if (!isStored(reported.announcementType)) {
        reported.storedDataSourceId = none.storedDataSourceId;
        reported.storedDataFilePath = none.storedDataFilePath;
    }
    if (reported.visualAnnouncementType != AT_DISPLAY_TEMPLATE) {
        reported.displayTemplateName = none.displayTemplateName;
        reported.displayTemplateKeyValueList = none.displayTemplateKeyValueList;
        reported.displayTemplateValidityPeriodSeconds = none.displayTemplateValidityPeriodSeconds;
    }
    std::string gain;
    pa::appendDouble(gain, sent.gain);
    reported.gain = pa::decodeDouble(gain.c_str());
    return reported;
}

bool isSame(const ScheduleDefinition& a, const ScheduleDefinition& b) {
    ScheduleDefinition other = b;
    other.displayTemplateValidityPeriodSeconds = a.displayTemplateValidityPeriodSeconds;
    return a == other;
}

bool isSpoken(AnnouncementType type) {
    return type == AT_TTS || type == AT_TTS_SAF;
}

bool isStored(AnnouncementType type) {
    return type == AT_STORED_DATA || type == AT_STORED_DATA_SAF;
}

}  // namespace paclient
