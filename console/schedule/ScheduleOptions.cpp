// SPDX-License-Identifier: Apache-2.0
#include "console/schedule/ScheduleOptions.h"

#include <tuple>

#include "client/choose.h"
#include "client/schedulesCheck.h"
#include "console/ExitCode.h"
#include "console/commands/playOptions.h"

namespace console {

using namespace paclient;

namespace {

constexpr int minutesOfDay = 24 * 60;

void addMoment(CLI::App& app, const std::string& name, DateTime& value, const std::string& help) {
    const auto take = [&value](const std::string& text) { value = parseDateTime(text); };
    addParsed(app, name, take, help, "DATE|TIME|DATETIME");
}

// ------------------------------------------------------------------------------- what is changed

template <class Value>
void setIfGiven(Value& member, const std::optional<Value>& given) {
    member = given.value_or(member);
}

void changeTimes(ScheduleDefinition& s, const ScheduleOptions& o) {
    const Date first = o.from.date.value_or(startDate(s));
    const Date last = o.until.date.value_or(endDate(s));
    const TimeOfDay start = o.from.time.value_or(startTime(s));
    const TimeOfDay end = o.until.time.value_or(endTime(s));
    std::tie(s.startYear, s.startMonth, s.startDay) = std::tie(first.year, first.month, first.day);
    std::tie(s.startHour, s.startMinute) = std::tie(start.hour, start.minute);
    std::tie(s.endYear, s.endMonth, s.endDay) = std::tie(last.year, last.month, last.day);
    std::tie(s.endHour, s.endMinute) = std::tie(end.hour, end.minute);
    setIfGiven(s.dayMask, o.dayMask);
    setIfGiven(s.frequency, o.every);
}

/// Has the schedule play something of this type from now on, instead of anything else.
void setAudioType(ScheduleDefinition& schedule, AnnouncementType type) {
    schedule.announcementType = type;
    schedule = asReported(schedule);
}

void changeAudio(ScheduleDefinition& schedule, const ScheduleOptions& o) {
    if (!o.audio.items.empty()) {
        setAudioType(schedule, AT_TEV);
        schedule.dictionaryItems = o.audio.items;
    }
    if (!o.audio.texts.empty() && !isSpoken(schedule.announcementType)) {
        setAudioType(schedule, AT_TTS);
    }
    if (o.audio.file && !isStored(schedule.announcementType)) {
        setAudioType(schedule, AT_STORED_DATA);
    }
    const bool isVoiceGiven = o.audio.language || o.audio.voice;
    require(!o.audio.repeat || schedule.announcementType == AT_TEV,
            "--repeat is used with --items");
    require(!isVoiceGiven || isSpoken(schedule.announcementType),
            "--language and --voice are used with --text");
    require(!o.source || isStored(schedule.announcementType), "--source is used with --file");
    setIfGiven(schedule.repeatCnt, o.audio.repeat);
    if (!o.audio.texts.empty()) {
        const TTSVocalizer before = schedule.ttsList.empty() ? TTSVocalizer() : schedule.ttsList[0];
        schedule.ttsList.assign(o.audio.texts.size(), before);
        for (std::size_t i = 0; i < o.audio.texts.size(); ++i) {
            schedule.ttsList[i].text = o.audio.texts[i];
        }
    }
    setIfGiven(schedule.storedDataFilePath, o.audio.file);
    setIfGiven(schedule.storedDataSourceId, o.source);
}

void changeVisual(ScheduleDefinition& schedule, const ScheduleOptions& o) {
    constexpr int usualValidity = 30;
    if (o.displayTemplate && schedule.visualAnnouncementType == AT_NONE) {
        schedule.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
        schedule.displayTemplateValidityPeriodSeconds = usualValidity;
    }
    const bool isShown = schedule.visualAnnouncementType != AT_NONE;
    require(o.variables.empty() || isShown, "--set is used with --template");
    require(!o.validity || isShown, "--validity is used with --template");
    setIfGiven(schedule.displayTemplateName, o.displayTemplate);
    for (const auto& [key, value] : variablesOf(o)) {
        schedule.displayTemplateKeyValueList[key] = value;
    }
    setIfGiven(schedule.displayTemplateValidityPeriodSeconds, o.validity);
}

/// The schedule with what the options choose, and all else as it is, but for what `lookUp` adds. A
/// new audio part replaces the one before.
/// @throws Failure when something does not fit the schedule
ScheduleDefinition chosen(ScheduleDefinition schedule, const ScheduleOptions& o) {
    setIfGiven(schedule.descrption, o.description);
    changeTimes(schedule, o);
    changeAudio(schedule, o);
    changeVisual(schedule, o);
    setIfGiven(schedule.priorityLevel, o.priority);
    setIfGiven(schedule.priorityMode, o.priorityMode);
    setIfGiven(schedule.gain, o.gain);
    setIfGiven(schedule.chime, o.chime);
    return schedule;
}

/// Fills in the zones and the voice that the options name, as the server spells them. Texts that
/// are new have the voice of those before, unless another one is named.
/// @throws LookupError
void lookUp(ScheduleDefinition& schedule, const ScheduleOptions& o) {
    if (!o.zones.empty()) {
        schedule.paZones = chooseZones(o.zones);
    }
    const bool isVoiceGiven = o.audio.language || o.audio.voice;
    const bool isAsBefore = o.audio.texts.empty() && !isVoiceGiven;
    if (isAsBefore || schedule.ttsList.empty()) {
        return;
    }
    const TTSVocalizer before = schedule.ttsList.front();
    const TTSVocalizer voice = isVoiceGiven || before.voice.empty()
                                   ? chooseVoice(o.audio.language, o.audio.voice)
                                   : chooseVoice(before.language, before.voice);
    for (TTSVocalizer& spoken : schedule.ttsList) {
        spoken.language = voice.language;
        spoken.voice = voice.voice;
    }
}

}  // namespace

void addScheduleOptions(CLI::App& app, ScheduleOptions& o) {
    addText(app, "--description", o.description, "What it is for");

    addMoment(app, "--from", o.from,
              "First date and the time of day, as 2026-12-01T06:00 (default: today, 00:00)");
    addMoment(app, "--until", o.until,
              "Last date, and the end of each day's repetitions (default: 2099-12-31T23:59)");
    const auto takeDays = [&o](const std::string& text) { o.dayMask = parseDays(text); };
    addParsed(app, "--days", takeDays, "As mon-fri,sun, or daily (default)", "DAYS");
    addWhole(app, "--every", o.every, {0, minutesOfDay},
             "Minutes between the repetitions of a day, 0 for none (default)");
    addTexts(app, "--zones", o.zones, "A zone, or several with commas between; repeatable",
             "ZONES");

    addAudioOptions(app, o.audio, "A recording to play, by its path at the server", "PATH");
    addWhole(app, "--source", o.source, {0, greatestWhole},
             "Number of the source that holds the file (default 0)");

    addText(app, "--template", o.displayTemplate, "Template of a text to show", "TEMPLATE");
    addTexts(app, "--set", o.variables, "A variable of the template; repeatable", "KEY=VALUE");
    addWhole(app, "--validity", o.validity, {0, greatestWhole},
             "Seconds for which the text is displayed (default 30)");

    addWhole(app, "--priority", o.priority, anyWhole, "Priority level (default 500)");
    const auto addMode = [&](const char* name, AnnouncementPriorityMode mode, const char* help) {
        return app.add_flag_callback(
            name, [&o, mode] { o.priorityMode = mode; }, help);
    };
    addMode("--relative", APM_RELATIVE_PRIORITY, "The level counts from the server's own")
        ->excludes(addMode("--absolute", APM_ABSOLUTE_PRIORITY, "It does not (default)"));
    addNumber(app, "--gain", o.gain, {-1000, 1000}, "Gain in dB, 0 for the server's own");
    addText(app, "--chime", o.chime, "A chime of the server, played first", "CHIME");
}

std::map<std::string, std::string> variablesOf(const ScheduleOptions& o) {
    std::map<std::string, std::string> variables;
    for (const std::string& variable : o.variables) {
        const auto [key, value] = splitVariable("--set", variable, "KEY=VALUE");
        require(variables.emplace(key, value).second, "--set gives '" + key + "' twice");
    }
    return variables;
}

void checkNew(const ScheduleOptions& o) {
    ScheduleDefinition schedule = chosen(blankSchedule({1970, 1, 1}), o);
    schedule.paZones = {""};
    checkSchedule(schedule);
}

ScheduleDefinition blankSchedule(const Date& first) {
    ScheduleOptions usual;
    usual.from = {first, TimeOfDay{0, 0}};
    usual.until = {Date{2099, 12, 31}, TimeOfDay{23, 59}};
    usual.dayMask = everyDay;
    ScheduleDefinition schedule;
    changeTimes(schedule, usual);
    return schedule;
}

ScheduleDefinition changed(const ScheduleDefinition& schedule, const ScheduleOptions& o) {
    ScheduleDefinition result = chosen(schedule, o);
    lookUp(result, o);
    return result;
}

}  // namespace console
