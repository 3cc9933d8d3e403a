// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "include/common/RecordList.h"
#include "sdk/PAController.h"
#include "sdk/recordKinds.h"
#include "simserver/station/Station.h"

/// @file
/// Every kind of record: what a server sends for a key, how the references read it, and what the
/// controller does with it. The cases of bench/controller/recordCases.cpp are made from these
/// descriptions. A record has two versions, which differ in the state of what it describes.

namespace bench {

/// What follows from a record, for the observers and in the event queue.
enum class Follows { Never, OnChange, Always };

/// What the kinds have in common. Zones have a handler of their own.
template <pa::RecordKind number, void (PAController::*handler)(int, TEVlist*)>
struct HandledByKey {
    static constexpr pa::RecordKind kind = number;
    static void handle(PAController& controller, int key, TEVlist* list) {
        (controller.*handler)(key, list);
    }
    static void withdraw(PAController& controller, int key) {
        controller.deleteAudioVideoControllerInfo(0, static_cast<int>(number), key);
    }
};

struct ReportedSource : PaSource {
    std::string lockedUUID;
    int reportingServer = 0;
};

struct SourceKind : HandledByKey<pa::RecordKind::Source, &PAController::addUpdatePaSource> {
    using Record = ReportedSource;
    static constexpr Follows observers = Follows::OnChange;
    static constexpr Follows event = Follows::Always;
    static pa::RecordFields fields(int key, int version);
    /// @param holder UUID of the client that holds its lock
    static pa::RecordFields fieldsOfLocked(int key, const std::string& holder);
    static auto all(const PAController& controller) { return controller.getPaSources(); }
    static auto find(const PAController& controller, int key) {
        return controller.findPaSource(key);
    }
    template <class In>
    static void read(In& in, Record& to) {
        in.number(to.id);
        in.quoted(to.location);
        in.quoted(to.label);
        in.text(to.ipAddress, "0.0.0.0");
        in.number(to.type);
        in.skip();
        in.text(to.subAddress);
        in.number(to.state);
        in.skip();
        in.text(to.lockedUUID);
        in.number(to.reportingServer);
        in.decimal(to.inputGain, -96);
        in.number(to.broadcastType);
        in.skip(3);
        in.number(to.healthState, PaSource::HEALTHY);
    }
};

struct SinkKind : HandledByKey<pa::RecordKind::Sink, &PAController::addUpdatePaSink> {
    using Record = PaSink;
    static constexpr Follows observers = Follows::OnChange;
    static constexpr Follows event = Follows::Always;
    static pa::RecordFields fields(int key, int version);
    static auto all(const PAController& controller) { return controller.getPaSinks(); }
    static auto find(const PAController& controller, int key) { return controller.findPaSink(key); }
    template <class In>
    static void read(In& in, Record& to) {
        in.number(to.id);
        in.quoted(to.location);
        in.quoted(to.label);
        in.text(to.ipAddress, "0.0.0.0");
        in.number(to.type);
        in.skip();
        in.text(to.ampPortList);
        in.number(to.state);
        in.skip();
        in.number(to.announcementType);
        in.skip();
        double gain = 0;
        in.decimal(gain, -96);
        to.outputGain.setLevel(gain);
        in.number(to.muteState, PaSink::NOT_MUTED);
        in.skip(2);
        in.number(to.monitoringSinkId);
        in.skip();
        in.number(to.healthState);
        in.skip(8);
        in.list(to.paZoneList);
        in.number(to.monitoringEnabled, 1);
        in.listAsReceived(to.monitoringZoneList);
        in.skip(2);
        in.quoted(to.mediaLog);
    }
};

struct ZoneKind : HandledByKey<pa::RecordKind::Zone, nullptr> {
    using Record = PaZone;
    static constexpr Follows observers = Follows::OnChange;
    static constexpr Follows event = Follows::OnChange;
    static pa::RecordFields fields(int key, int version);
    static void handle(PAController& controller, int key, TEVlist* list) {
        constexpr int server = 1;
        controller.addUpdatePaZone(server, key, list);
    }
    static auto all(const PAController& controller) { return controller.getPaZones(); }
    static auto find(const PAController& controller, int key) { return controller.findPaZone(key); }
    template <class In>
    static void read(In& in, Record& to) {
        in.quoted(to.id);
        in.skip();
        in.number(to.activity);
        in.text(to.activityText);
        in.number(to.announcementType);
        in.text(to.announcementTypeText);
        in.number(to.health);
        in.text(to.healthText);
    }
};

struct TriggerKind : HandledByKey<pa::RecordKind::Trigger, &PAController::addUpdatePaTrigger> {
    using Record = PaTrigger;
    static constexpr Follows observers = Follows::OnChange;
    static constexpr Follows event = Follows::Always;
    static pa::RecordFields fields(int key, int version);
    static auto all(const PAController& controller) { return controller.getHwPaTriggers(); }
    static auto find(const PAController& controller, int key) {
        return controller.findHwPaTrigger(key);
    }
    template <class In>
    static void read(In& in, Record& to) {
        int server = 0;
        in.number(to.id);
        in.number(to.associatedSourceId);
        in.text(to.label);
        in.number(to.type, PaTrigger::DIN_NORMALLY_OPEN);
        in.skip();
        in.text(to.subAddress);
        in.number(to.priority, 500);
        in.number(to.state);
        in.skip();
        in.number(to.associatedSelectorId);
        in.number(server);
    }
};

struct SelectorKind : HandledByKey<pa::RecordKind::Selector, &PAController::addUpdatePaSelector> {
    using Record = PaSelector;
    static constexpr Follows observers = Follows::OnChange;
    static constexpr Follows event = Follows::Always;
    static pa::RecordFields fields(int key, int version);
    static auto all(const PAController& controller) { return controller.getPaSelectors(); }
    static auto find(const PAController& controller, int key) {
        return controller.findPaSelector(key);
    }
    template <class In>
    static void read(In& in, Record& to) {
        in.number(to.id);
        in.number(to.associatedSourceId);
        in.number(to.type);
        in.skip();
        in.text(to.number);
        in.text(to.label);
        in.number(to.protection);
        in.skip();
        in.number(to.mode);
        in.skip();
        in.number(to.dynamicRestriction);
        in.skip();
        in.number(to.state, PaSelector::DISABLED);
    }
};

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

struct AttachedZonesKind
    : HandledByKey<pa::RecordKind::AttachedZones, &PAController::addUpdateAttachedPaZone> {
    using Record = std::vector<std::string>;
    static constexpr Follows observers = Follows::Never;
    static constexpr Follows event = Follows::Never;
    static pa::RecordFields fields(int key, int version);
    static auto find(const PAController& controller, int key) {
        Record zones;
        controller.getAttachedPaZoneList(key, &zones);
        return zones;
    }
    template <class In>
    static void read(In& in, Record& to) {
        in.list(to);
    }
};

/// A station that reports about so many records of these descriptions, and no schedules.
simserver::Station stationOf(int records);

}  // namespace bench
