// SPDX-License-Identifier: Apache-2.0
// The fields of the records, as the simulated server encodes them.
#include "bench/controller/kinds.h"

#include "simserver/protocol/Records.h"
#include "simserver/protocol/ScheduleRecord.h"

namespace bench {

namespace {

constexpr int dstNo = 1;
constexpr std::time_t epoch = 1'795'000'000;

std::string uuidOf(int number) {
    char text[40];
    std::snprintf(text, sizeof text, "3f2b8c1e-5d47-4a90-9c1b-%012x",
                  static_cast<unsigned>(number));
    return text;
}

std::string platform(int key) {
    return "Platform " + std::to_string(1 + key % 12);
}

simserver::Source sourceOf(int key, int version) {
    simserver::Source source;
    source.id = key;
    source.location = "Control room, desk " + std::to_string(1 + key % 40);
    source.label = "Paging \"" + platform(key) + '"';
    source.ipAddress = "10.20.1.11";
    source.type = PaSource::ZENTRIQ_IP_PAGING_STATION;
    source.subAddress = "in " + std::to_string(1 + key % 4);
    source.inputGain = -12.5;
    if (version != 0) {
        source.attachedZones = {platform(key)};
    }
    return source;
}

simserver::Sink sinkOf(int key) {
    simserver::Sink sink;
    sink.id = key;
    sink.location = platform(key) + ", north end";
    sink.label = "Canopy speakers \"A" + std::to_string(key) + '"';
    sink.ipAddress = "10.20.1.29";
    sink.type = 1;
    sink.ampPorts = "1,2";
    sink.outputGain = -6.5;
    sink.zones = {platform(key) + "/North", "Concourse"};
    sink.monitoringEnabled = true;
    return sink;
}

simserver::Zone zoneOf(int key) {
    return {platform(key) + "/Section " + std::to_string(key)};
}

simserver::Trigger triggerOf(int key, int version) {
    simserver::Trigger trigger;
    trigger.id = key;
    trigger.source = key;
    trigger.selector = 1;
    trigger.label = "Key 1, deputy of " + platform(key);
    trigger.type = 3;
    trigger.subAddress = "key 1";
    trigger.active = version != 0;
    return trigger;
}

simserver::Selector selectorOf(int key, int version) {
    simserver::Selector selector;
    selector.id = key;
    selector.source = key;
    selector.label = "Staff call, " + platform(key);
    selector.type = 6;
    selector.number = "2199";
    selector.state = 1 + version;
    return selector;
}

}  // namespace

pa::RecordFields SourceKind::fields(int key, int version) {
    return simserver::sourceRecord(sourceOf(key, version), "", dstNo);
}

pa::RecordFields SourceKind::fieldsOfLocked(int key, const std::string& holder) {
    return simserver::sourceRecord(sourceOf(key, 0), holder, dstNo);
}

pa::RecordFields SinkKind::fields(int key, int version) {
    return simserver::sinkRecord(sinkOf(key), version != 0);
}

pa::RecordFields ZoneKind::fields(int key, int version) {
    constexpr int dictionary = 2;
    const simserver::PartType* const playing =
        version != 0 ? simserver::findType(dictionary) : nullptr;
    return simserver::zoneRecord(zoneOf(key), playing);
}

pa::RecordFields TriggerKind::fields(int key, int version) {
    return simserver::triggerRecord(triggerOf(key, version), dstNo);
}

pa::RecordFields SelectorKind::fields(int key, int version) {
    return simserver::selectorRecord(selectorOf(key, version));
}

pa::RecordFields AnnouncementKind::fields(int key, int version) {
    simserver::PlayPart part;
    part.key = key;
    part.requestId = uuidOf(key);
    part.request.type = simserver::findType(4);
    part.request.origin = "10.20.1.5";
    part.request.zones = {platform(key) + "/North", platform(key) + "/South"};
    part.request.content = simserver::SpokenContent{
        {{"en-GB", "Emma", 48000, "The train to Linz, via St. Poelten, leaves at 10:25"}}};
    part.request.gain = -3;
    part.priority = "0,500";
    part.start = simserver::SimTime(1000);
    part.state = version != 0 ? simserver::PartState::Playing : simserver::PartState::Queued;
    return simserver::announcementRecord(part, epoch);
}

pa::RecordFields ScheduleKind::fields(int key, int version) {
    simserver::Schedule schedule;
    schedule.id = key;
    schedule.description = uuidOf(key) + "~\"Early trains, " + platform(key) + '"';
    schedule.times.start = {2026, 12, 1, 6, 0};
    schedule.times.end = {2026, 12, 31, 23, 59};
    schedule.times.dayMask = 127;
    schedule.times.frequency = 15 + 15 * version;
    schedule.level = 500;
    schedule.parts = {{simserver::findType(2),
                       "10.20.1.5",
                       {platform(key) + "/North", platform(key) + "/South"},
                       simserver::DictionaryContent{{12, 40, 7}, 1},
                       -3.0,
                       ""}};
    return simserver::scheduleRecord(schedule);
}

pa::RecordFields TtsPortKind::fields(int /*key*/, int version) {
    simserver::Voice voice;
    voice.language = "en-GB";
    voice.voice = "Emma";
    voice.text = version != 0 ? "British English, female" : "British English, female, \"HD\"";
    return simserver::voiceRecord(voice);
}

pa::RecordFields TtsDictionaryKind::fields(int key, int version) {
    simserver::Preview preview;
    preview.item = key;
    preview.port = 1;
    preview.uuid = uuidOf(key);
    preview.text = "The train to Linz leaves from " + platform(key);
    preview.fullName = preview.uuid + ".wav";
    preview.size = 214'000 + static_cast<unsigned>(version);
    preview.checksum = "9f86d081884c7d659a2feaa0c55ad015a3bf4f1b2b0b822cd15d6c15b0f00a08";
    preview.uri = "file:///var/lib/paserver/previews/" + preview.fullName;
    return simserver::previewRecord(preview);
}

pa::RecordFields AttachedZonesKind::fields(int key, int version) {
    simserver::Source source;
    source.attachedZones = {platform(key), platform(key + 1 + version)};
    return simserver::attachedZonesRecord(source);
}

simserver::Station stationOf(int records) {
    simserver::Station station;
    station.name = "Central Station";
    const int unit = records / 20;
    for (int key = 1; key <= 8 * unit; ++key) {
        station.sinks.push_back(sinkOf(key));
        if (key <= 4 * unit) {
            station.zones.push_back(zoneOf(key));
        }
        if (key <= 2 * unit) {  // and the zones that are attached to it
            station.sources.push_back(sourceOf(key, 1));
            station.triggers.push_back(triggerOf(key, 0));
        }
        if (key <= unit) {
            station.selectors.push_back(selectorOf(key, 0));
        }
    }
    return station;
}

}  // namespace bench
