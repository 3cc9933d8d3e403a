#pragma once

#include <map>
#include <string>
#include <vector>

#include "../resource/common/priorityInfo.h"
#include "Message.h"

/// An announcement that the server plays by itself at set dates and times. A plain value.
struct ScheduleDefinition {
    int Id = 0;  ///< above 0 when valid
    std::string descrption;
    int startYear = 0;
    int startMonth = 0;
    int startDay = 0;
    int startHour = 0;
    int startMinute = 0;
    int endYear = 0;
    int endMonth = 0;
    int endDay = 0;
    int endHour = 0;
    int endMinute = 0;
    int dayMask = 0;    ///< days of the week, a bit mask that is passed through
    int frequency = 0;  ///< repetition interval, passed through
    std::vector<std::string> paZones;
    AnnouncementPriorityMode priorityMode = APM_ABSOLUTE_PRIORITY;
    int priorityLevel = 500;
    AnnouncementType announcementType = AT_NONE;        ///< of the audio part
    AnnouncementType visualAnnouncementType = AT_NONE;  ///< of the visual part
    std::vector<unsigned> dictionaryItems;
    int repeatCnt = 1;
    std::vector<TTSVocalizer> ttsList;
    int storedDataSourceId = 0;
    std::string storedDataFilePath;
    std::string displayTemplateName;
    std::map<std::string, std::string> displayTemplateKeyValueList;
    int displayTemplateValidityPeriodSeconds = 0;
    double gain = 0.0;  ///< dB; 0 means that it is not set
    std::string chime;

    friend bool operator==(const ScheduleDefinition& a, const ScheduleDefinition& b) {
        return a.Id == b.Id && a.descrption == b.descrption && a.startYear == b.startYear &&
               a.startMonth == b.startMonth && a.startDay == b.startDay &&
               a.startHour == b.startHour && a.startMinute == b.startMinute &&
               a.endYear == b.endYear && a.endMonth == b.endMonth && a.endDay == b.endDay &&
               a.endHour == b.endHour && a.endMinute == b.endMinute && a.dayMask == b.dayMask &&
               a.frequency == b.frequency && a.paZones == b.paZones &&
               a.priorityMode == b.priorityMode && a.priorityLevel == b.priorityLevel &&
               a.announcementType == b.announcementType &&
               a.visualAnnouncementType == b.visualAnnouncementType &&
               a.dictionaryItems == b.dictionaryItems && a.repeatCnt == b.repeatCnt &&
               a.ttsList == b.ttsList && a.storedDataSourceId == b.storedDataSourceId &&
               a.storedDataFilePath == b.storedDataFilePath &&
               a.displayTemplateName == b.displayTemplateName &&
               a.displayTemplateKeyValueList == b.displayTemplateKeyValueList &&
               a.displayTemplateValidityPeriodSeconds == b.displayTemplateValidityPeriodSeconds &&
               a.gain == b.gain && a.chime == b.chime;
    }
    friend bool operator!=(const ScheduleDefinition& a, const ScheduleDefinition& b) {
        return !(a == b);
    }
};
