#include "simserver/playback/Activity.h"

#include <algorithm>

#include "simserver/protocol/Records.h"

namespace simserver {

namespace {

/// What a zone is said to play: what is heard goes before what is shown.
const AnnouncementType* typeIn(const PlayEngine& engine, const std::string& zone) {
    for (const Medium medium : {Medium::Audio, Medium::Visual}) {
        if (const PlayPart* const part = engine.playingIn(zone, medium); part != nullptr) {
            return part->request.type;
        }
    }
    return nullptr;
}

/// A sink is heard when it stands in a zone that something is heard in. A zone that is played to
/// brings its sub-zones along, so a sink of a sub-zone is heard with the whole. A device that is
/// inactive is not heard.
bool isHeard(const PlayEngine& engine, const Sink& sink) {
    return sink.health != inactiveHealth &&
           std::any_of(sink.zones.begin(), sink.zones.end(), [&engine](const std::string& zone) {
               return engine.playingIn(zone, Medium::Audio) != nullptr;
           });
}

}  // namespace

Activity::Activity(const Station& station)
    : station_(station), sinksPlaying_(station.sinks.size()), zonePlaying_(station.zones.size()) {}

void Activity::noteChange(const Sink& sink) {
    changedSinks_.insert(sink.id);
}

std::vector<palink::Record> Activity::update(const PlayEngine& engine) {
    std::vector<palink::Record> changes;
    for (std::size_t i = 0; i < sinksPlaying_.size(); ++i) {
        const bool playing = isHeard(engine, station_.sinks[i]);
        if (playing != sinksPlaying_[i] || changedSinks_.count(station_.sinks[i].id) > 0) {
            sinksPlaying_[i] = playing;
            changes.push_back(sinkRecordAt(i));
        }
    }
    changedSinks_.clear();
    for (std::size_t i = 0; i < zonePlaying_.size(); ++i) {
        const AnnouncementType* const playing = typeIn(engine, station_.zones[i].id);
        if (playing != zonePlaying_[i]) {
            zonePlaying_[i] = playing;
            changes.push_back(zoneRecordAt(i));
        }
    }
    return changes;
}

std::vector<palink::Record> Activity::all() const {
    std::vector<palink::Record> records;
    for (std::size_t i = 0; i < sinksPlaying_.size(); ++i) {
        records.push_back(sinkRecordAt(i));
    }
    for (std::size_t i = 0; i < zonePlaying_.size(); ++i) {
        records.push_back(zoneRecordAt(i));
    }
    return records;
}

palink::Record Activity::sinkRecordAt(std::size_t i) const {
    const Sink& sink = station_.sinks[i];
    return {station_.dstNo, pa::RecordKind::Sink, sink.id, sinkRecord(sink, sinksPlaying_[i])};
}

palink::Record Activity::zoneRecordAt(std::size_t i) const {
    return {station_.dstNo, pa::RecordKind::Zone, static_cast<int>(i) + 1,
            zoneRecord(station_.zones[i], zonePlaying_[i])};
}

}  // namespace simserver
