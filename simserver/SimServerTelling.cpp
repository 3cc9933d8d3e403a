/// What the simulated server tells its client.

#include <utility>

#include "simserver/SimServer.h"
#include "simserver/protocol/Records.h"

namespace simserver {

using pa::RecordKind;

void SimServer::tell(palink::ServerEvent event) {
    if (client_ != nullptr) {
        client_->deliver(std::move(event));
    }
}

void SimServer::tellRecord(RecordKind kind, int key, pa::RecordFields fields) {
    tell(palink::Record{station_.dstNo, kind, key, std::move(fields)});
}

void SimServer::tellGone(RecordKind kind, int key) {
    tell(palink::Withdrawal{station_.dstNo, kind, key});
}

/// Everything that there is, for a client that knows nothing yet.
void SimServer::tellAll() {
    palink::Connected connected{station_.dstNo, station_.dstNo, false, {}};
    connected.serverInfo.set("name", station_.name);
    connected.serverInfo.set("software", "simulated audio server");
    connected.serverInfo.set("timeZone", station_.timeZone);
    connected.serverInfo.set("clock", std::to_string(wallTime()));
    tell(std::move(connected));

    for (const Source& source : station_.sources) {
        tellSource(source);
    }
    for (const Source& source : station_.sources) {
        tellRecord(RecordKind::AttachedZones, source.id, attachedZonesRecord(source));
    }
    for (palink::Record& record : activity_.all()) {
        tell(std::move(record));
    }
    for (const Trigger& trigger : station_.triggers) {
        tellRecord(RecordKind::Trigger, trigger.id, triggerRecord(trigger, station_.dstNo));
    }
    for (const Selector& selector : station_.selectors) {
        tellRecord(RecordKind::Selector, selector.id, selectorRecord(selector));
    }
    for (const Voice& voice : station_.voices) {
        tellRecord(RecordKind::TtsPort, voice.port, voiceRecord(voice));
    }
    for (const Preview& preview : studio_.previews()) {
        tellPreview(preview);
    }
    for (const Schedule* const schedule : schedules_.all()) {
        tellSchedule(*schedule);
    }
    for (const auto& [key, part] : engine_.parts()) {
        tellRecord(RecordKind::Announcement, key, announcementRecord(part, epoch_));
    }
    tell(palink::InitialSetComplete{});
}

/// Tells what has changed in zones and sinks. What has ended in them is not followed any further.
void SimServer::tellActivity() {
    for (palink::Record& record : activity_.update(engine_)) {
        tell(std::move(record));
    }
    live_.forgetEnded();
}

void SimServer::partChanged(const PlayPart& part) {
    tellRecord(RecordKind::Announcement, part.key, announcementRecord(part, epoch_));
    if (part.isOver()) {
        tellGone(RecordKind::Announcement, part.key);
    }
}

}  // namespace simserver
