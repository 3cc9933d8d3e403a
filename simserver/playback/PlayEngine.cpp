// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/PlayEngine.h"

#include <algorithm>
#include <iterator>

#include "client/checkMessage.h"
#include "simserver/earliest.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

constexpr long long relativeBase = 500;

std::string priorityText(const RequestToPlay& request) {
    const std::string level = std::to_string(request.level);
    if (!request.relative) {
        return "Absolute " + level;
    }
    return "Relative " + (request.level < 0 ? level : "+" + level);
}

/// Whether a part that plays gives its zone to another.
bool givesWay(const PlayPart& playing, const PlayPart& next) {
    const bool openDisplay = playing.request.type->medium == Medium::Visual && !playing.end;
    return next.level > playing.level || (openDisplay && next.level == playing.level);
}

}  // namespace

PlayEngine::PlayEngine(std::vector<std::string> zones, PlayHost& host)
    : zones_(std::move(zones)), host_(host) {}

void PlayEngine::play(const RequestToPlay& request, SimTime now) {
    for (const RequestPart& requested : request.parts) {
        PlayPart part;
        part.key = ++lastKey_;
        part.requestId = request.id;
        part.request = requested;
        part.level = request.level + (request.relative ? relativeBase : 0);
        part.priority = priorityText(request);
        part.area = areaOf(requested.zones);
        host_.partChanged(parts_.emplace(part.key, std::move(part)).first->second);
    }
    beginWhatMay(now);
}

bool PlayEngine::cancel(const CancelRequest& request, SimTime now) {
    const auto named = [&request](const PlayPart& part) {
        return request.type == nullptr ? part.requestId == request.id
                                       : part.request.type == request.type;
    };
    const std::string outcome =
        request.type == nullptr ? "cancelled"
                                : "cancelled with all of type " + std::string(request.type->name);
    const bool any = finishAll(named, PartState::Cancelled, outcome);
    beginWhatMay(now);
    return any;
}

void PlayEngine::end(const std::string& requestId, const std::string& outcome, SimTime now) {
    const auto named = [&requestId](const PlayPart& part) { return part.requestId == requestId; };
    finishAll(named, PartState::Finished, outcome);
    beginWhatMay(now);
}

void PlayEngine::moveLive(const std::string& requestId, const std::vector<std::string>& zones,
                          SimTime now) {
    for (auto& [key, part] : parts_) {
        if (part.requestId != requestId || !part.isLive() || part.request.zones == zones) {
            continue;
        }
        part.request.zones = zones;
        part.area = areaOf(zones);
        for (const std::string& zone : std::set<std::string>(part.held)) {
            if (part.area.count(zone) == 0) {
                leave({part.request.type->medium, zone}, part);
            }
        }
        host_.partChanged(part);
    }
    beginWhatMay(now);
}

std::optional<SimTime> PlayEngine::nextDue() const {
    return earliest(parts_, [](const auto& entry) { return entry.second.end; });
}

void PlayEngine::playDue(SimTime now) {
    const auto due = [now](const PlayPart& part) { return part.end && *part.end <= now; };
    finishAll(due, PartState::Finished, "played to its end");
    beginWhatMay(now);
}

bool PlayEngine::isActive(const std::string& requestId) const {
    return std::any_of(parts_.begin(), parts_.end(), [&requestId](const auto& entry) {
        return entry.second.requestId == requestId;
    });
}

const PlayPart* PlayEngine::playingIn(const std::string& zone, Medium medium) const {
    const auto holder = holders_.find({medium, zone});
    return holder == holders_.end() ? nullptr : &parts_.at(holder->second);
}

std::set<std::string> PlayEngine::areaOf(const std::vector<std::string>& zones) const {
    std::set<std::string> area;
    for (const std::string& wanted : zones) {
        std::copy_if(
            zones_.begin(), zones_.end(), std::inserter(area, area.end()),
            [&wanted](const std::string& zone) { return paclient::isWithin(zone, wanted); });
    }
    return area;
}

/// What a part wants and does not hold: all of its area while it waits; of the parts that have
/// begun, only a live one wants more.
std::set<PlayEngine::Spot> PlayEngine::missing(const PlayPart& part) {
    std::set<Spot> spots;
    if (part.state == PartState::Queued || part.isLive()) {
        for (const std::string& zone : part.area) {
            if (part.held.count(zone) == 0) {
                spots.insert({part.request.type->medium, zone});
            }
        }
    }
    return spots;
}

/// Keys of the parts that wait or want more: higher levels first, equal ones in order of arrival.
std::vector<int> PlayEngine::wantingInOrder() const {
    std::vector<std::pair<long long, int>> wanting;
    for (const auto& [key, part] : parts_) {
        if (part.state == PartState::Queued || !missing(part).empty()) {
            wanting.emplace_back(-part.level, key);
        }
    }
    std::sort(wanting.begin(), wanting.end());
    std::vector<int> keys;
    std::transform(wanting.begin(), wanting.end(), std::back_inserter(keys),
                   [](const auto& entry) { return entry.second; });
    return keys;
}

/// @param wanted by the parts that are ahead
bool PlayEngine::mayTake(const Spot& spot, const PlayPart& part,
                         const std::set<Spot>& wanted) const {
    const PlayPart* const playing = playingIn(spot.second, spot.first);
    return wanted.count(spot) == 0 && (playing == nullptr || givesWay(*playing, part));
}

void PlayEngine::beginWhatMay(SimTime now) {
    std::set<Spot> wanted;
    for (const int key : wantingInOrder()) {
        PlayPart& part = parts_.at(key);
        const std::set<Spot> spots = missing(part);
        std::set<Spot> free;
        std::copy_if(spots.begin(), spots.end(), std::inserter(free, free.end()),
                     [&](const Spot& spot) { return mayTake(spot, part, wanted); });
        if (part.isLive() ? !free.empty() : free.size() == spots.size()) {
            begin(part, free, now);
        } else {
            wanted.insert(spots.begin(), spots.end());
        }
    }
}

/// Has a part play in zones that it may take; a live one may play in others already.
void PlayEngine::begin(PlayPart& part, const std::set<Spot>& spots, SimTime now) {
    std::optional<SimTime> length;
    try {
        length = host_.lengthOf(part.request);
    } catch (const Refused& refused) {
        finish(part.key, PartState::Failed, refused.what());
        return;
    }
    for (const Spot& spot : spots) {
        take(spot, part);
    }
    if (part.state == PartState::Playing) {
        return;
    }
    part.state = PartState::Playing;
    part.start = now;
    if (length) {
        part.end = now + std::min(*length, longest);
    }
    host_.partChanged(part);
}

/// Gives a zone to a part; one that plays there loses it.
void PlayEngine::take(const Spot& spot, PlayPart& part) {
    const auto holder = holders_.find(spot);
    if (holder != holders_.end()) {
        PlayPart& loser = parts_.at(holder->second);
        leave(spot, loser);
        if (loser.held.empty() && loser.isLive()) {
            host_.partChanged(loser);
        } else if (loser.held.empty()) {
            finish(loser.key, PartState::PreEmpted,
                   "pre-empted by " + part.requestId + " (" + part.priority + ")");
        }
    }
    holders_[spot] = part.key;
    part.held.insert(spot.second);
}

/// Takes a zone from a part; a live one that has no other waits again.
void PlayEngine::leave(const Spot& spot, PlayPart& part) {
    holders_.erase(spot);
    part.held.erase(spot.second);
    if (part.held.empty() && part.isLive()) {
        part.state = PartState::Queued;
        part.start.reset();
    }
}

void PlayEngine::finish(int key, PartState state, const std::string& outcome) {
    PlayPart& part = parts_.at(key);
    for (const std::string& zone : part.held) {
        holders_.erase({part.request.type->medium, zone});
    }
    part.state = state;
    part.outcome = outcome;
    host_.partChanged(part);
    parts_.erase(key);
}

/// Ends every part for which `chosen` holds.
/// @return whether there was any
template <class Chosen>
bool PlayEngine::finishAll(Chosen chosen, PartState state, const std::string& outcome) {
    std::vector<int> keys;
    for (const auto& [key, part] : parts_) {
        if (chosen(part)) {
            keys.push_back(key);
        }
    }
    for (const int key : keys) {
        finish(key, state, outcome);
    }
    return !keys.empty();
}

}  // namespace simserver
