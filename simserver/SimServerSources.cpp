/// What the simulated server does with its sources: locks, zones, gains, and what is heard live.

#include <algorithm>
#include <utility>

#include "framework/clock.h"
#include "simserver/SimServer.h"
#include "simserver/lookUp.h"
#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Records.h"

namespace simserver {

namespace {

using pa::RecordKind;

bool contains(const std::vector<std::string>& zones, const std::string& zone) {
    return std::find(zones.begin(), zones.end(), zone) != zones.end();
}

std::string sourceText(int id) {
    return "source " + std::to_string(id);
}

}  // namespace

Source& SimServer::sourceOf(int id) {
    return byId(station_.sources, id, "source");
}

// ----------------------------------------------------------------------------------------- locks

void SimServer::attachSource(const std::string& payload) {
    const LockRequest request = decodeLock(payload);
    const Source& source = sourceOf(request.sourceId);
    const bool wasFree = locks_.take(source.id, request.client, pa::monotonicMS());
    tellSource(source);
    if (wasFree) {
        followClient(source, "");
    }
}

void SimServer::detachSource(const std::string& payload) {
    const LockRequest request = decodeLock(payload);
    const Source& source = sourceOf(request.sourceId);
    locks_.release(source.id, request.client);
    tellSource(source);
    followClient(source, sourceText(source.id) + " is released");
}

void SimServer::extendLock(const std::string& payload) {
    const LockRequest request = decodeLock(payload);
    const Source& source = sourceOf(request.sourceId);
    if (!renewalsWithheld_) {
        locks_.renew(source.id, request.client, pa::monotonicMS());
    }
}

void SimServer::withholdRenewals(bool on) {
    const std::lock_guard guard(lock_);
    renewalsWithheld_ = on;
}

void SimServer::lapseLocks() {
    const std::vector<int> lapsed = locks_.lapse(pa::monotonicMS());
    for (const int id : lapsed) {
        const Source& source = sourceOf(id);
        tellSource(source);
        followClient(source, "the lock of " + sourceText(id) + " has lapsed");
    }
    if (!lapsed.empty()) {
        settle();
    }
}

// ------------------------------------------------------------------------------- zones and gains

void SimServer::attachZones(const std::string& payload) {
    const ZonesRequest request = decodeAttachZones(payload);
    Source& source = sourceOf(request.sourceId);
    std::vector<std::string> zones = source.attachedZones;
    for (const std::string& zone : request.zones) {
        repertoire_.checkZone(zone);
        if (!contains(zones, zone)) {
            zones.push_back(zone);
        }
    }
    changeZones(source, std::move(zones));
}

void SimServer::detachZones(const std::string& payload) {
    const ZonesRequest request = decodeDetachZones(payload);
    Source& source = sourceOf(request.sourceId);
    for (const std::string& zone : request.zones) {
        repertoire_.checkZone(zone);
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

/// Tells of the new zones, and takes along whatever is heard in them.
void SimServer::changeZones(Source& source, std::vector<std::string> zones) {
    if (zones == source.attachedZones) {
        return;
    }
    source.attachedZones = std::move(zones);
    tellRecord(RecordKind::AttachedZones, source.id, attachedZonesRecord(source));
    tellSource(source);

    const std::string whyEnded = "no zone is attached to " + sourceText(source.id);
    followClient(source, whyEnded);
    for (const Trigger& trigger : station_.triggers) {
        if (trigger.source == source.id && trigger.selector == 0) {
            followTrigger(trigger, whyEnded);
        }
    }
    const Opening software{Opener::SoftwareTrigger, source.id};
    if (live_.isOpen(software)) {  // it does not begin again
        follow(software, source, source.priority, source.attachedZones, whyEnded);
    }
}

void SimServer::setSourceGain(const std::string& payload) {
    constexpr int highest = 42;  // dB
    const GainRequest request = decodeGain(payload, highest);
    Source& source = sourceOf(request.id);
    if (source.type != 1 && source.type != 2) {
        throw Refused(sourceText(source.id) +
                      " has no gain: neither an analogue input nor a paging station");
    }
    source.inputGain = request.level;
    tellSource(source);
}

// ------------------------------------------------------------------------------ what is heard live

/// A source that a client holds is heard in the zones that are attached to it.
void SimServer::followClient(const Source& source, const std::string& whyEnded) {
    const bool held = !locks_.holderOf(source.id).empty();
    follow({Opener::Client, source.id}, source, source.priority,
           held ? source.attachedZones : std::vector<std::string>(), whyEnded);
}

/// Has an opening of a source heard in these zones; without any its announcement ends.
void SimServer::follow(const Opening& opening, const Source& source, int level,
                       const std::vector<std::string>& zones, const std::string& whyEnded) {
    if (zones.empty()) {
        live_.close(opening, whyEnded, now_);
    } else if (live_.isOpen(opening)) {
        live_.move(opening, zones, now_);
    } else {
        live_.open(opening, {newRequestId(), false, level, {livePart(source, zones)}}, now_);
    }
}

void SimServer::tellSource(const Source& source) {
    tellRecord(RecordKind::Source, source.id,
               sourceRecord(source, locks_.holderOf(source.id), station_.dstNo));
}

}  // namespace simserver
