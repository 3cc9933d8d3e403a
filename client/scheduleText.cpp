// SPDX-License-Identifier: Apache-2.0
#include "client/scheduleText.h"

#include "client/StationClock.h"
#include "client/recordText.h"
#include "client/scheduleTimes.h"
#include "client/shortened.h"

namespace paclient {

namespace {

/// So that a list has one line for each schedule.
std::string inList(const std::string& text) {
    constexpr std::size_t characters = 40;
    return shortened(text, characters);
}

std::string audioText(const ScheduleDefinition& schedule) {
    switch (schedule.announcementType) {
        case AT_TEV:
            return "items " + inList(valueText(schedule.dictionaryItems)) +
                   (schedule.repeatCnt == 1 ? "" : " x" + std::to_string(schedule.repeatCnt));
        case AT_TTS:
        case AT_TTS_SAF:
            return "text " + inList(valueText(schedule.ttsList));
        case AT_STORED_DATA:
        case AT_STORED_DATA_SAF:
            return "file " + inList(schedule.storedDataFilePath);
        case AT_NONE:
            return {};
        default:
            return nameOf(schedule.announcementType);
    }
}

std::string visualText(const ScheduleDefinition& schedule) {
    if (schedule.visualAnnouncementType == AT_NONE) {
        return {};
    }
    return schedule.visualAnnouncementType == AT_DISPLAY_TEMPLATE
               ? "template " + inList(schedule.displayTemplateName)
               : nameOf(schedule.visualAnnouncementType);
}

std::string timesText(const ScheduleDefinition& schedule) {
    const std::string start = timeText(startTime(schedule));
    return schedule.frequency == 0 ? start
                                   : start + " to " + timeText(endTime(schedule)) + " every " +
                                         std::to_string(schedule.frequency) + " min";
}

}  // namespace

ScheduleEntry described(const ScheduleDefinition& definition) {
    ScheduleEntry schedule;
    static_cast<ScheduleDefinition&>(schedule) = definition;
    schedule.periodText = dateText(startDate(schedule)) + " to " + dateText(endDate(schedule));
    schedule.daysText = daysText(schedule.dayMask);
    schedule.timesText = timesText(schedule);
    const std::string audio = audioText(schedule);
    const std::string visual = visualText(schedule);
    schedule.contentText = audio + (audio.empty() || visual.empty() ? "" : "; ") + visual;
    schedule.nextRun = stationClock().nextRunText(definition);
    return schedule;
}

}  // namespace paclient
