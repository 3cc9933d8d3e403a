#include "simserver/PlayEngine.h"

#include <algorithm>
#include <iterator>

#include "simserver/Refused.h"

namespace simserver {

namespace {

constexpr long long relativeBase = 500;

std::string priorityText(const PlayRequest& request) {
    const std::string level = std::to_string(request.level);
    if (!request.relative) {
        return "Absolute " + level;
    }
    return "Relative " + (request.level < 0 ? level : "+" + level);
}

bool isWithin(const std::string& zone, const std::string& wanted) {
    return zone == wanted || zone.compare(0, wanted.size() + 1, wanted + "/") == 0;
}

/// Whether a part that plays leaves its zone to another.
bool givesWay(const PlayPart& playing, const PlayPart& next) {
    const bool openDisplay = playing.request.type->medium == Medium::Visual && !playing.end;
    return next.level > playing.level || (openDisplay && next.level == playing.level);
}

}  // namespace

PlayEngine::PlayEngine(std::vector<std::string> zones, PlayHost& host)
    : zones_(std::move(zones)), host_(host) {}

void PlayEngine::play(const PlayRequest& request, SimTime now) {
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

std::optional<SimTime> PlayEngine::nextDue() const {
    std::optional<SimTime> next;
    for (const auto& entry : parts_) {
        const std::optional<SimTime>& end = entry.second.end;
        if (end && (!next || *end < *next)) {
            next = end;
        }
    }
    return next;
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
        std::copy_if(zones_.begin(), zones_.end(), std::inserter(area, area.end()),
                     [&wanted](const std::string& zone) { return isWithin(zone, wanted); });
    }
    return area;
}

/// Keys of the waiting parts: higher levels first, equal ones in order of arrival.
std::vector<int> PlayEngine::waitingInOrder() const {
    std::vector<std::pair<long long, int>> waiting;
    for (const auto& [key, part] : parts_) {
        if (part.state == PartState::Queued) {
            waiting.emplace_back(-part.level, key);
        }
    }
    std::sort(waiting.begin(), waiting.end());
    std::vector<int> keys;
    std::transform(waiting.begin(), waiting.end(), std::back_inserter(keys),
                   [](const auto& entry) { return entry.second; });
    return keys;
}

bool PlayEngine::mayBegin(const PlayPart& part, const std::set<Spot>& wanted) const {
    const Medium medium = part.request.type->medium;
    return std::all_of(part.area.begin(), part.area.end(), [&](const std::string& zone) {
        const PlayPart* const playing = playingIn(zone, medium);
        return wanted.count({medium, zone}) == 0 &&
               (playing == nullptr || givesWay(*playing, part));
    });
}

void PlayEngine::beginWhatMay(SimTime now) {
    std::set<Spot> wanted;  // by the waiting parts that are ahead
    for (const int key : waitingInOrder()) {
        PlayPart& part = parts_.at(key);
        if (mayBegin(part, wanted)) {
            begin(part, now);
            continue;
        }
        for (const std::string& zone : part.area) {
            wanted.insert({part.request.type->medium, zone});
        }
    }
}

void PlayEngine::begin(PlayPart& part, SimTime now) {
    std::optional<SimTime> length;
    try {
        length = host_.lengthOf(part.request);
    } catch (const Refused& refused) {
        finish(part.key, PartState::Failed, refused.what());
        return;
    }
    for (const std::string& zone : part.area) {
        take({part.request.type->medium, zone}, part);
    }
    part.state = PartState::Playing;
    part.start = now;
    if (length) {
        part.end = now + std::min(*length, longest);
    }
    host_.partChanged(part);
}

/// Puts a part into a zone; one that plays there already loses it.
void PlayEngine::take(const Spot& spot, PlayPart& part) {
    const auto holder = holders_.find(spot);
    if (holder != holders_.end()) {
        PlayPart& loser = parts_.at(holder->second);
        loser.area.erase(spot.second);
        if (loser.area.empty()) {
            finish(loser.key, PartState::PreEmpted,
                   "pre-empted by " + part.requestId + " (" + part.priority + ")");
        }
    }
    holders_[spot] = part.key;
}

void PlayEngine::finish(int key, PartState state, const std::string& outcome) {
    PlayPart& part = parts_.at(key);
    if (part.state == PartState::Playing) {
        for (const std::string& zone : part.area) {
            holders_.erase({part.request.type->medium, zone});
        }
    }
    part.state = state;
    part.outcome = outcome;
    host_.partChanged(part);
    parts_.erase(key);
}

/// Ends every part that `chosen` says.
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
