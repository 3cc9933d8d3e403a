// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "bench/controller/handledByKey.h"

namespace bench {

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

}  // namespace bench
