#include "console/schedule/scheduleText.h"

#include "console/schedule/scheduleTimes.h"
#include "console/schedule/stationClock.h"
#include "console/text/cleanText.h"
#include "console/text/recordText.h"

namespace console {

namespace {

/// Long texts cut, so that a line of a list stays one.
std::string shortened(const std::string& text) {
    constexpr std::size_t columns = 40;
    const std::string cleaned = clean(text);
    return displayWidth(cleaned) <= columns ? cleaned : fitted(cleaned, columns - 3) + "...";
}

std::string heardText(const ScheduleDefinition& schedule) {
    switch (schedule.announcementType) {
        case AT_TEV:
            return "items " + shortened(valueText(schedule.dictionaryItems)) +
                   (schedule.repeatCnt == 1 ? "" : " x" + std::to_string(schedule.repeatCnt));
        case AT_TTS:
        case AT_TTS_SAF:
            return "text " + shortened(valueText(schedule.ttsList));
        case AT_STORED_DATA:
        case AT_STORED_DATA_SAF:
            return "file " + shortened(schedule.storedDataFilePath);
        case AT_NONE:
            return {};
        default:
            return nameOf(schedule.announcementType);
    }
}

std::string shownText(const ScheduleDefinition& schedule) {
    if (schedule.visualAnnouncementType == AT_NONE) {
        return {};
    }
    return schedule.visualAnnouncementType == AT_DISPLAY_TEMPLATE
               ? "template " + shortened(schedule.displayTemplateName)
               : nameOf(schedule.visualAnnouncementType);
}

std::string timesText(const ScheduleDefinition& schedule) {
    const std::string start = timeText(startTime(schedule));
    return schedule.frequency == 0 ? start
                                   : start + " to " + timeText(endTime(schedule)) + " every " +
                                         std::to_string(schedule.frequency) + " min";
}

}  // namespace

Schedule described(const ScheduleDefinition& definition) {
    Schedule schedule;
    static_cast<ScheduleDefinition&>(schedule) = definition;
    schedule.periodText = dateText(startDate(schedule)) + " to " + dateText(endDate(schedule));
    schedule.daysText = daysText(schedule.dayMask);
    schedule.timesText = timesText(schedule);
    const std::string heard = heardText(schedule);
    const std::string shown = shownText(schedule);
    schedule.contentText = heard + (heard.empty() || shown.empty() ? "" : "; ") + shown;
    schedule.nextRun = nextRunText(definition);
    return schedule;
}

}  // namespace console
