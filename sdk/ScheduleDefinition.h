// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "../resource/common/priorityInfo.h"
#include "Message.h"

/// An announcement that the server plays by itself at set dates and times. A plain value.
struct ScheduleDefinition {
    int Id = 0;              ///< above 0 when valid
    std::string descrption;  ///< a text for people
    int startYear = 0;  ///< first day, as 2026, 1 to 12, 1 to 31; dates and times are the station's
    int startMonth = 0;                ///< 1 to 12
    int startDay = 0;                  ///< 1 to 31
    int startHour = 0;                 ///< of the first run of each day, 0 to 23
    int startMinute = 0;               ///< 0 to 59
    int endYear = 0;                   ///< last day, likewise
    int endMonth = 0;                  ///< 1 to 12
    int endDay = 0;                    ///< 1 to 31
    int endHour = 0;                   ///< end of each day's runs, 0 to 23
    int endMinute = 0;                 ///< 0 to 59
    int dayMask = 0;                   ///< days of the week, a bit mask that is passed through
    int frequency = 0;                 ///< repetition interval, passed through
    std::vector<std::string> paZones;  ///< ids of the zones in which it plays
    /// How `priorityLevel` is meant.
    AnnouncementPriorityMode priorityMode = APM_ABSOLUTE_PRIORITY;
    int priorityLevel = 500;                            ///< a higher one comes first
    AnnouncementType announcementType = AT_NONE;        ///< of the audio part
    AnnouncementType visualAnnouncementType = AT_NONE;  ///< of the visual part
    std::vector<unsigned> dictionaryItems;              ///< of `AT_TEV`
    int repeatCnt = 1;                                  ///< how often the items are played
    std::vector<TTSVocalizer> ttsList;  ///< of `AT_TTS`, `AT_TTS_SAF`: texts, spoken in turn
    int storedDataSourceId = 0;       ///< of `AT_STORED_DATA`, `AT_STORED_DATA_SAF`: passed through
    std::string storedDataFilePath;   ///< of the same: path on the server
    std::string displayTemplateName;  ///< of `AT_DISPLAY_TEMPLATE`: the screen
    std::map<std::string, std::string> displayTemplateKeyValueList;  ///< of the same: its variables
    int displayTemplateValidityPeriodSeconds = 0;  ///< of the same: how long it is displayed
    double gain = 0.0;                             ///< dB; 0 means that it is not set
    std::string chime;  ///< number or name of the chime before, empty for none

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
