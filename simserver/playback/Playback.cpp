// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/Playback.h"

#include <algorithm>

#include "simserver/protocol/Records.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/RequestDecoder.h"

namespace simserver {

namespace {

std::vector<std::string> idsOf(const std::vector<Zone>& zones) {
    std::vector<std::string> ids(zones.size());
    std::transform(zones.begin(), zones.end(), ids.begin(),
                   [](const Zone& zone) { return zone.id; });
    return ids;
}

}  // namespace

Playback::Playback(ServerContext& context)
    : context_(context), engine_(idsOf(context.station.zones), *this) {}

void Playback::play(const std::string& payload) {
    RequestToPlay request;
    forRequest(request.id, [&] {
        decodePlay(payload, request);
        if (request.id.empty()) {
            request.id = newRequestId();
        }
        if (engine_.isActive(request.id)) {
            throw Refused("request \"" + request.id + "\" is active already");
        }
        for (const RequestPart& part : request.parts) {
            context_.content.check(part);
        }
    });
    playOwn(request);
}

void Playback::cancel(const std::string& payload) {
    const CancelRequest request = decodeCancel(payload);
    if (!engine_.cancel(request, context_.clock.now())) {
        throw Refused(request.type == nullptr ? "no announcement \"" + request.id + "\" is active"
                                              : std::string("no announcement of type ") +
                                                    request.type->name + " is active",
                      request.id);
    }
}

void Playback::playOwn(const RequestToPlay& request) {
    engine_.play(request, context_.clock.now());
}

std::string Playback::newRequestId(const std::string& kind) {
    std::string id;
    do {
        id = kind + "-" + std::to_string(++lastOwnId_);
    } while (engine_.isActive(id));
    return id;
}

void Playback::moveLive(const std::string& requestId, const std::vector<std::string>& zones) {
    engine_.moveLive(requestId, zones, context_.clock.now());
}

void Playback::end(const std::string& requestId, const std::string& outcome) {
    engine_.end(requestId, outcome, context_.clock.now());
}

void Playback::publishAll() const {
    for (const auto& [key, part] : engine_.parts()) {
        publish(part);
    }
}

void Playback::takeDue() {
    engine_.playDue(context_.clock.now());
}

std::optional<SimTime> Playback::lengthOf(const RequestPart& part) {
    if (!part.whyNot.empty()) {
        throw Refused(part.whyNot);
    }
    return context_.content.lengthOf(part);
}

void Playback::partChanged(const PlayPart& part) {
    publish(part);
    if (part.isOver()) {
        context_.publisher.withdrawal(pa::RecordKind::Announcement, part.key);
    }
}

void Playback::publish(const PlayPart& part) const {
    context_.publisher.record(pa::RecordKind::Announcement, part.key,
                              announcementRecord(part, context_.clock.epoch()));
}

}  // namespace simserver
