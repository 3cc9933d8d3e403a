#include "simserver/playback/LiveAnnouncements.h"

#include <iterator>

namespace simserver {

namespace {

RequestPart partOf(const Source& source, int type, const std::vector<std::string>& zones,
                   Content content) {
    RequestPart part;
    part.type = findType(type);
    part.origin = source.ipAddress;
    part.zones = zones;
    part.content = std::move(content);
    return part;
}

}  // namespace

RequestPart livePart(const Source& source, const std::vector<std::string>& zones) {
    return partOf(source, liveAnnouncement, zones, LiveContent{source.id});
}

RequestPart shownPart(const Source& source, const std::string& text) {
    return partOf(source, displayAnnouncement, source.attachedZones, TextContent{text});
}

LiveAnnouncements::LiveAnnouncements(PlayEngine& engine) : engine_(engine) {}

bool LiveAnnouncements::isOpen(const Opening& opening) const {
    return requestIds_.count(opening) > 0;
}

void LiveAnnouncements::open(const Opening& opening, const PlayRequest& request, SimTime now) {
    requestIds_[opening] = request.id;
    engine_.play(request, now);
}

void LiveAnnouncements::move(const Opening& opening, const std::vector<std::string>& zones,
                             SimTime now) {
    engine_.moveLive(requestIds_.at(opening), zones, now);
}

void LiveAnnouncements::close(const Opening& opening, const std::string& outcome, SimTime now) {
    const auto found = requestIds_.find(opening);
    if (found != requestIds_.end()) {
        engine_.end(found->second, outcome, now);
        requestIds_.erase(found);
    }
}

void LiveAnnouncements::forgetEnded() {
    for (auto it = requestIds_.begin(); it != requestIds_.end();) {
        it = engine_.isActive(it->second) ? std::next(it) : requestIds_.erase(it);
    }
}

}  // namespace simserver
