// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sdk/ScheduleDefinition.h"

inline constexpr const char* hostile = "a,b^c!d~e=f\"g\\h \r\n\x1b[31m{SCREEN} Lucía 駅";

/// A sound one, of dictionary items.
inline ScheduleDefinition schedule(int id = 12) {
    ScheduleDefinition s;
    s.Id = id;
    s.startYear = 2026;
    s.startMonth = 12;
    s.startDay = 1;
    s.startHour = 6;
    s.endYear = 2026;
    s.endMonth = 12;
    s.endDay = 31;
    s.endHour = 23;
    s.endMinute = 59;
    s.dayMask = 127;
    s.paZones = {"Concourse"};
    s.announcementType = AT_TEV;
    s.dictionaryItems = {12};
    return s;
}

/// The same with a text in every place that takes one.
inline ScheduleDefinition wordy(const std::string& text) {
    ScheduleDefinition s = schedule();
    s.descrption = text;
    s.announcementType = AT_TTS;
    s.dictionaryItems.clear();
    s.ttsList = {{0, text, "en", "Amelia", TTSVocalizer::usableRate, Message::UTF_8}};
    s.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
    s.displayTemplateName = text;
    s.displayTemplateKeyValueList = {{text, text}, {"EMPTY", ""}};
    s.displayTemplateValidityPeriodSeconds = 20;
    s.gain = -3.5;
    s.chime = "1";
    return s;
}
