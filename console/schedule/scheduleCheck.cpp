#include "console/schedule/scheduleCheck.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "console/ExitCode.h"
#include "console/schedule/scheduleTimes.h"
#include "console/text/cleanText.h"
#include "console/text/json.h"
#include "sdk/records/numberText.h"

namespace console {

namespace {

constexpr const char* templateKey = "{SCREEN}";  // the key under which the template's name is sent

[[noreturn]] void fail(const std::string& text) {
    throw Failure(ExitCode::Usage, text);
}

void require(bool condition, const std::string& text) {
    if (!condition) {
        fail(text);
    }
}

// ------------------------------------------------------------------------------------------ times

/// @param option by which the moment is given
template <class Part>
void requireReal(const char* option, const Part& part) {
    const std::string fault = faultOf(part);
    require(fault.empty(), option + (": " + fault));
}

std::string momentText(const Date& date, const TimeOfDay& time) {
    return dateText(date) + 'T' + timeText(time);
}

void checkTimes(const ScheduleDefinition& schedule) {
    requireReal("--from", startDate(schedule));
    requireReal("--from", startTime(schedule));
    requireReal("--until", endDate(schedule));
    requireReal("--until", endTime(schedule));
    const std::string start = momentText(startDate(schedule), startTime(schedule));
    const std::string end = momentText(endDate(schedule), endTime(schedule));
    require(start <= end, "--until: the end, " + end + ", lies before the start, " + start);
    require(schedule.dayMask > 0 && schedule.dayMask <= everyDay,
            "--days: the mask " + std::to_string(schedule.dayMask) + " is none of days");
    require(schedule.frequency >= 0, "--every: there are no negative minutes");
}

// ------------------------------------------------------------------------------------------ texts

/// A text of a schedule.
struct NamedText {
    const char* name;
    const std::string& text;
    /// What it must not have, because it is sent as it stands.
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
    const std::string what = std::string("the ") + named.name + " '" + clean(named.text) + "' ";
    require(isUtf8(named.text), what + "is not UTF-8");
    require(named.text.find('\0') == std::string::npos, what + "has a NUL character");
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
                " is nothing that a schedule can show");
    const auto& variables = schedule.displayTemplateKeyValueList;
    require(!schedule.displayTemplateName.empty() || !variables.empty(),
            "nothing to show: the template is missing");
    require(schedule.displayTemplateValidityPeriodSeconds >= 0,
            "nothing is shown for less than 0 s");
    require(variables.count("") == 0, "a key is empty");
    require(variables.count(templateKey) == 0,
            std::string("the key ") + templateKey + " is that of the template's name");
}

/// Members that belong to another kind of content would be lost.
void requireNothingLost(const ScheduleDefinition& schedule) {
    const Json given = toJson(schedule);
    const Json told = toJson(asTold(schedule));
    for (const auto& member : told.items()) {
        require(member.key() == "gain" || given[member.key()] == member.value(),
                "the member '" + member.key() +
                    "' does not go with what is played and shown, and would be lost");
    }
}

}  // namespace

void check(const ScheduleDefinition& schedule) {
    require(schedule.Id >= 0, "the id " + std::to_string(schedule.Id) + " is negative");
    checkTimes(schedule);
    require(!schedule.paZones.empty(), "zones are missing");
    require(schedule.announcementType != AT_NONE || schedule.visualAnnouncementType != AT_NONE,
            "nothing to play: --items, --text, --file or --template is missing");
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

ScheduleDefinition asTold(const ScheduleDefinition& sent) {
    const ScheduleDefinition none;
    ScheduleDefinition told = sent;
    if (told.announcementType != AT_TEV) {
        told.dictionaryItems = none.dictionaryItems;
        told.repeatCnt = none.repeatCnt;
    }
    if (!isSpoken(told.announcementType)) {
        told.ttsList = none.ttsList;
    }
    for (TTSVocalizer& spoken : told.ttsList) {
        const TTSVocalizer usual;
        spoken.portNo = usual.portNo;
        spoken.rate = usual.rate;
        spoken.encoding = usual.encoding;
    }
    if (!isStored(told.announcementType)) {
        told.storedDataSourceId = none.storedDataSourceId;
        told.storedDataFilePath = none.storedDataFilePath;
    }
    if (told.visualAnnouncementType != AT_DISPLAY_TEMPLATE) {
        told.displayTemplateName = none.displayTemplateName;
        told.displayTemplateKeyValueList = none.displayTemplateKeyValueList;
        told.displayTemplateValidityPeriodSeconds = none.displayTemplateValidityPeriodSeconds;
    }
    std::string gain;
    pa::appendDouble(gain, sent.gain);
    told.gain = pa::decodeDouble(gain.c_str());
    return told;
}

bool isSame(const ScheduleDefinition& a, const ScheduleDefinition& b) {
    ScheduleDefinition other = b;
    other.displayTemplateValidityPeriodSeconds = a.displayTemplateValidityPeriodSeconds;
    return toJson(a) == toJson(other);
}

bool isSpoken(AnnouncementType type) {
    return type == AT_TTS || type == AT_TTS_SAF;
}

bool isStored(AnnouncementType type) {
    return type == AT_STORED_DATA || type == AT_STORED_DATA_SAF;
}

}  // namespace console
