// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/Sinks.h"

#include <algorithm>

#include "simserver/earliest.h"
#include "simserver/lookUp.h"
#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Records.h"

namespace simserver {

namespace {

using pa::RecordKind;

constexpr int highestOutputGain = 0;  // dB

bool hasGain(const Sink& sink) {
    return sink.type >= 1 && sink.type <= 4;
}

std::string sinkText(int id) {
    return "sink " + std::to_string(id);
}

/// The type that a zone reports: an audio part takes precedence over a visual one.
const PartType* typeIn(const PlayEngine& engine, const std::string& zone) {
    for (const Medium medium : {Medium::Audio, Medium::Visual}) {
        if (const PlayPart* const part = engine.playingIn(zone, medium); part != nullptr) {
            return part->request.type;
        }
    }
    return nullptr;
}

/// A sink plays when audio plays in one of the zones that list it. Parts cover sub-zones, so a sink
/// of a sub-zone plays with the whole zone. An inactive device does not play.
bool plays(const PlayEngine& engine, const Sink& sink) {
    return sink.health != inactiveHealth &&
           std::any_of(sink.zones.begin(), sink.zones.end(), [&engine](const std::string& zone) {
               return engine.playingIn(zone, Medium::Audio) != nullptr;
           });
}

}  // namespace

Sinks::Sinks(ServerContext& context, const PlayEngine& engine)
    : context_(context),
      engine_(engine),
      sinkPlays_(context.station.sinks.size()),
      zonePlays_(context.station.zones.size()) {
    restore();
}

/// What the station no longer has is left out.
void Sinks::restore() {
    std::vector<Sink>& sinks = context_.station.sinks;
    context_.state.restoreAll(Kept::SinkGain, sinks, [](Sink& sink, const std::string& payload) {
        if (hasGain(sink)) {
            sink.outputGain = decodeGain(payload, highestOutputGain).level;
        }
    });
    context_.state.restoreAll(Kept::Monitoring, sinks, [](Sink& sink, const std::string& payload) {
        sink.monitoringEnabled = decodeMonitoring(payload).enable;
    });
}

// ------------------------------------------------------------------------------------ operations

void Sinks::setGain(const std::string& payload) {
    const GainRequest request = decodeGain(payload, highestOutputGain);
    Sink& sink = byId(context_.station.sinks, request.id, "sink");
    if (!hasGain(sink)) {
        throw Refused(sinkText(sink.id) + " has no gain: neither a loudspeaker nor a line output");
    }
    context_.state.put(Kept::SinkGain, sink.id, payload);
    sink.outputGain = request.level;
    changed_.insert(sink.id);
}

void Sinks::setMonitoring(const std::string& payload) {
    const MonitoringRequest request = decodeMonitoring(payload);
    Sink& sink = byId(context_.station.sinks, request.sinkId, "sink");
    context_.state.put(Kept::Monitoring, sink.id, payload);
    sink.monitoringEnabled = request.enable;
    changed_.insert(sink.id);
}

void Sinks::reset(const std::string& payload) {
    constexpr SimTime duration = std::chrono::seconds(3);
    Sink& sink = byId(context_.station.sinks, decodeId(payload), "sink");
    if (sink.type != 9 && sink.type != 10) {
        throw Refused(sinkText(sink.id) +
                      " cannot be reset: neither an interface unit nor a mixer");
    }
    sink.health = inactiveHealth;
    resets_[sink.id] = context_.clock.now() + duration;
    changed_.insert(sink.id);
}

std::optional<SimTime> Sinks::nextDue() const {
    return earliest(resets_, [](const auto& entry) { return std::optional(entry.second); });
}

void Sinks::takeDue() {
    for (auto it = resets_.begin(); it != resets_.end();) {
        if (it->second > context_.clock.now()) {
            ++it;
            continue;
        }
        byId(context_.station.sinks, it->first, "sink").health = healthyHealth;
        changed_.insert(it->first);
        it = resets_.erase(it);
    }
}

// --------------------------------------------------------------------------------------- reports

void Sinks::publishChanges() {
    const Station& station = context_.station;
    for (std::size_t i = 0; i < sinkPlays_.size(); ++i) {
        const bool playing = plays(engine_, station.sinks[i]);
        if (playing != sinkPlays_[i] || changed_.count(station.sinks[i].id) > 0) {
            sinkPlays_[i] = playing;
            publishSink(i);
        }
    }
    changed_.clear();
    for (std::size_t i = 0; i < zonePlays_.size(); ++i) {
        const PartType* const playing = typeIn(engine_, station.zones[i].id);
        if (playing != zonePlays_[i]) {
            zonePlays_[i] = playing;
            publishZone(i);
        }
    }
}

void Sinks::publishAll() const {
    for (std::size_t i = 0; i < sinkPlays_.size(); ++i) {
        publishSink(i);
    }
    for (std::size_t i = 0; i < zonePlays_.size(); ++i) {
        publishZone(i);
    }
}

void Sinks::publishSink(std::size_t place) const {
    const Sink& sink = context_.station.sinks[place];
    context_.publisher.record(RecordKind::Sink, sink.id, sinkRecord(sink, sinkPlays_[place]));
}

void Sinks::publishZone(std::size_t place) const {
    context_.publisher.record(RecordKind::Zone, static_cast<int>(place) + 1,
                              zoneRecord(context_.station.zones[place], zonePlays_[place]));
}

}  // namespace simserver
