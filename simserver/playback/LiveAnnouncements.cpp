// SPDX-License-Identifier: Apache-2.0
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

RequestPart displayPart(const Source& source, const std::string& text) {
    return partOf(source, displayAnnouncement, source.attachedZones, TextContent{text});
}

LiveAnnouncements::LiveAnnouncements(Playback& playback) : playback_(playback) {}

bool LiveAnnouncements::isOpen(const Opening& opening) const {
    return requestIds_.count(opening) > 0;
}

void LiveAnnouncements::open(const Opening& opening, int level,
                             const std::vector<RequestPart>& parts) {
    const RequestToPlay request{playback_.newRequestId(), false, level, parts};
    requestIds_[opening] = request.id;
    playback_.playOwn(request);
}

void LiveAnnouncements::follow(const Opening& opening, const Source& source, int level,
                               const std::vector<std::string>& zones, const std::string& whyEnded) {
    if (zones.empty()) {
        close(opening, whyEnded);
    } else if (isOpen(opening)) {
        playback_.moveLive(requestIds_.at(opening), zones);
    } else {
        open(opening, level, {livePart(source, zones)});
    }
}

void LiveAnnouncements::close(const Opening& opening, const std::string& outcome) {
    const auto found = requestIds_.find(opening);
    if (found != requestIds_.end()) {
        playback_.end(found->second, outcome);
        requestIds_.erase(found);
    }
}

void LiveAnnouncements::forgetEnded() {
    for (auto it = requestIds_.begin(); it != requestIds_.end();) {
        it = playback_.engine().isActive(it->second) ? std::next(it) : requestIds_.erase(it);
    }
}

}  // namespace simserver
