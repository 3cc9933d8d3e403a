// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "bench/controller/handledByKey.h"

namespace bench {

struct AnnouncementKind
    : HandledByKey<pa::RecordKind::Announcement, &PAController::addUpdateAnnouncementRequest> {
    using Record = AnnouncementRequest;
    static constexpr Follows observers = Follows::Always;
    static constexpr Follows event = Follows::Never;
    static pa::RecordFields fields(int key, int version);
    static auto all(const PAController& controller) { return controller.getAnnouncementRequests(); }
    static auto find(const PAController& controller, int key) {
        return controller.findAnnouncementRequest(key);
    }
    template <class In>
    static void read(In& in, Record& to) {
        thread_local std::string requestId;
        in.quoted(requestId);
        to.setRequestID(requestId);
        in.skip(4);
        in.text(to.stateText);
        in.text(to.startDateTime);
        in.skip(2);
        in.content(to);
        in.skip(6);
        in.text(to.priorityText);
        in.skip();
        in.text(to.completionCode);
        in.quoted(to.completionMsg);
    }
};

struct ScheduleKind : HandledByKey<pa::RecordKind::Schedule, &PAController::updateScheduleList> {
    using Record = ScheduleDefinition;
    static constexpr Follows observers = Follows::Always;
    static constexpr Follows event = Follows::Always;
    static pa::RecordFields fields(int key, int version);
    static auto all(const PAController& controller) { return controller.listSchedules(); }
    static auto find(const PAController& controller, int key) {
        return controller.findSchedule(key);
    }
    template <class In>
    static void read(In& in, Record& to) {
        in.quoted(to.descrption);
        in.numbers({&to.startYear, &to.startMonth, &to.startDay});
        in.numbers({&to.startHour, &to.startMinute});
        in.numbers({&to.endYear, &to.endMonth, &to.endDay});
        in.numbers({&to.endHour, &to.endMinute});
        in.number(to.dayMask);
        in.number(to.frequency);
        in.number(to.priorityMode);
        in.number(to.priorityLevel, 500);
        in.audioPart(to);
        in.visualPart(to);
    }
};

struct TtsPortKind : HandledByKey<pa::RecordKind::TtsPort, &PAController::updateFromTTS_Ports> {
    using Record = TTSVocalizer;
    static constexpr Follows observers = Follows::Never;
    static constexpr Follows event = Follows::Never;
    static pa::RecordFields fields(int key, int version);
    static auto all(const PAController& controller) { return controller.getTTSVocalizerList(); }
    static void withdraw(PAController& controller, int key) { controller.deleteFromTTS_Ports(key); }
    template <class In>
    static void read(In& in, Record& to) {
        in.quoted(to.language);
        in.quoted(to.voice);
        in.number(to.rate, TTSVocalizer::usableRate);
        in.quoted(to.text);
    }
};

struct TtsDictionaryKind
    : HandledByKey<pa::RecordKind::TtsDictionary, &PAController::updateFromTTS_Dictionary> {
    using Record = TTSDictionary;
    static constexpr Follows observers = Follows::Always;
    static constexpr Follows event = Follows::Never;
    static pa::RecordFields fields(int key, int version);
    static auto all(const PAController& controller) { return controller.getTTSDictionaryList(); }
    static void withdraw(PAController& controller, int key) {
        controller.deleteFromTTS_Dictionary(key);
    }
    template <class In>
    static void read(In& in, Record& to) {
        in.number(to.portNo);
        in.quoted(to.uuid);
        in.quoted(to.text);
        in.quoted(to.fullName);
        in.quoted(to.size);
        in.quoted(to.checksum);
        in.quoted(to.uri);
    }
};

}  // namespace bench
