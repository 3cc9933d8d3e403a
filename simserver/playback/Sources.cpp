// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/Sources.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "framework/clock.h"
#include "simserver/lookUp.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Records.h"

namespace simserver {

namespace {

using pa::RecordKind;

constexpr int highestInputGain = 42;  // dB

bool contains(const std::vector<std::string>& zones, const std::string& zone) {
    return std::find(zones.begin(), zones.end(), zone) != zones.end();
}

bool hasGain(const Source& source) {
    return source.type == 1 || source.type == 2;
}

std::string sourceText(int id) {
    return "source " + std::to_string(id);
}

}  // namespace

Sources::Sources(ServerContext& context, LiveAnnouncements& live, Triggers& triggers)
    : context_(context), live_(live), triggers_(triggers) {
    restore();
}

/// What the station no longer has is left out.
void Sources::restore() {
    std::vector<Source>& sources = context_.station.sources;
    context_.state.restoreAll(
        Kept::SourceGain, sources, [](Source& source, const std::string& payload) {
            if (hasGain(source)) {
                source.inputGain = decodeGain(payload, highestInputGain).level;
            }
        });
    context_.state.restoreAll(
        Kept::AttachedZones, sources, [this](Source& source, const std::string& list) {
            const std::vector<std::string> zones = decodeZoneList(list);
            source.attachedZones.clear();
            std::copy_if(
                zones.begin(), zones.end(), std::back_inserter(source.attachedZones),
                [this](const std::string& zone) { return context_.content.hasZone(zone); });
        });
}

Source& Sources::sourceOf(int id) const {
    return byId(context_.station.sources, id, "source");
}

// ----------------------------------------------------------------------------------------- locks

void Sources::lock(const std::string& payload) {
    const LockRequest request = decodeLock(payload);
    const Source& source = sourceOf(request.sourceId);
    const bool wasFree = locks_.take(source.id, request.client, pa::monotonicMS());
    publish(source);
    if (wasFree) {
        followLock(source, "");
    }
}

void Sources::unlock(const std::string& payload) {
    const LockRequest request = decodeLock(payload);
    const Source& source = sourceOf(request.sourceId);
    locks_.release(source.id, request.client);
    publish(source);
    followLock(source, sourceText(source.id) + " is released");
}

void Sources::extendLock(const std::string& payload) {
    const LockRequest request = decodeLock(payload);
    const Source& source = sourceOf(request.sourceId);
    if (!renewalsIgnored_) {
        locks_.renew(source.id, request.client, pa::monotonicMS());
    }
}

bool Sources::takeLapsed() {
    const std::vector<int> lapsed = locks_.lapse(pa::monotonicMS());
    for (const int id : lapsed) {
        const Source& source = sourceOf(id);
        publish(source);
        followLock(source, "the lock of " + sourceText(id) + " has lapsed");
    }
    return !lapsed.empty();
}

/// A source that a client holds plays in the zones that are attached to it.
void Sources::followLock(const Source& source, const std::string& whyEnded) {
    const bool held = !locks_.holderOf(source.id).empty();
    live_.follow({Opener::Client, source.id}, source, source.priority,
                 held ? source.attachedZones : std::vector<std::string>(), whyEnded);
}

// ------------------------------------------------------------------------------- zones and gains

void Sources::attachZones(const std::string& payload) {
    const ZonesRequest request = decodeAttachZones(payload);
    Source& source = sourceOf(request.sourceId);
    std::vector<std::string> zones = source.attachedZones;
    for (const std::string& zone : request.zones) {
        context_.content.checkZone(zone);
        if (!contains(zones, zone)) {
            zones.push_back(zone);
        }
    }
    changeZones(source, std::move(zones));
}

void Sources::detachZones(const std::string& payload) {
    const ZonesRequest request = decodeDetachZones(payload);
    Source& source = sourceOf(request.sourceId);
    for (const std::string& zone : request.zones) {
        context_.content.checkZone(zone);
        if (!contains(source.attachedZones, zone)) {
            throw Refused("zone \"" + zone + "\" is not attached to " + sourceText(source.id));
        }
    }
    std::vector<std::string> zones;
    std::copy_if(source.attachedZones.begin(), source.attachedZones.end(),
                 std::back_inserter(zones), [&request](const std::string& zone) {
                     return !request.all && !contains(request.zones, zone);
                 });
    changeZones(source, std::move(zones));
}

/// Moves what plays in the attached zones along with them.
void Sources::changeZones(Source& source, std::vector<std::string> zones) {
    if (zones == source.attachedZones) {
        return;
    }
    context_.state.put(Kept::AttachedZones, source.id, quotedList(zones, '^'));
    source.attachedZones = std::move(zones);
    publishZones(source);
    publish(source);
    const std::string whyEnded = "no zone is attached to " + sourceText(source.id);
    followLock(source, whyEnded);
    triggers_.followZones(source, whyEnded);
}

void Sources::setGain(const std::string& payload) {
    const GainRequest request = decodeGain(payload, highestInputGain);
    Source& source = sourceOf(request.id);
    if (!hasGain(source)) {
        throw Refused(sourceText(source.id) +
                      " has no gain: neither an analogue input nor a paging station");
    }
    context_.state.put(Kept::SourceGain, source.id, payload);
    source.inputGain = request.level;
    publish(source);
}

// --------------------------------------------------------------------------------------- reports

void Sources::publishAll() const {
    const std::vector<Source>& sources = context_.station.sources;
    std::for_each(sources.begin(), sources.end(), [this](const Source& each) { publish(each); });
    std::for_each(sources.begin(), sources.end(),
                  [this](const Source& each) { publishZones(each); });
}

void Sources::publish(const Source& source) const {
    context_.publisher.record(
        RecordKind::Source, source.id,
        sourceRecord(source, locks_.holderOf(source.id), context_.station.dstNo));
}

void Sources::publishZones(const Source& source) const {
    context_.publisher.record(RecordKind::AttachedZones, source.id, attachedZonesRecord(source));
}

}  // namespace simserver
