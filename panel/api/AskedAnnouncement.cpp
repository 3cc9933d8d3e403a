// SPDX-License-Identifier: Apache-2.0
#include "panel/api/AskedAnnouncement.h"

#include <limits>

#include "client/choose.h"
#include "panel/api/Body.h"
#include "panel/api/outcome.h"

namespace papanel {

using namespace paclient;
using paoperating::PlayRequest;

namespace {

constexpr int greatestWhole = std::numeric_limits<int>::max();
using Texts = std::vector<std::string>;

void readDisplay(const Json& json, PlayRequest& play) {
    readMembers(json, [&](Body& body) {
        play.display = body.get<std::string>("template");
        play.variables = body.findOr("variables", play.variables);
        play.validity = body.findWithin("validity", 0, greatestWhole).value_or(play.validity);
        return true;
    });
}

AskedAnnouncement readAsked(Body& body) {
    AskedAnnouncement asked;
    PlayRequest& play = asked.play;
    play.zones = body.get<Texts>("zones");
    play.audio.items = body.findOr("items", play.audio.items);
    play.audio.repeat = body.findWithin("repeat", 1, greatestWhole);
    play.audio.texts = body.findOr("texts", play.audio.texts);
    play.audio.language = body.find<std::string>("language");
    play.audio.voice = body.find<std::string>("voice");
    play.recording = body.find<std::string>("recording");
    asked.upload = body.find<std::string>("upload");
    if (const auto display = body.find<Json>("display")) {
        readDisplay(*display, play);
    }
    play.priority = body.findOr("priority", play.priority);
    play.relative = body.findOr("relative", false);
    play.preChime = body.findWithin("preChime", 0, greatestWhole).value_or(0);
    play.postChime = body.findWithin("postChime", 0, greatestWhole).value_or(0);
    play.gain =
        body.findWithin("gain", -paoperating::greatestPlayGain, paoperating::greatestPlayGain);
    play.requestId = body.find<std::string>("requestId");
    return asked;
}

}  // namespace

AskedAnnouncement askedAnnouncement(Services& services, const ApiRequest& request) {
    AskedAnnouncement asked = readMembers(request.body, readAsked);
    if (asked.upload) {
        asked.audio = services.audio.find(request.caller.user, *asked.upload);
        asked.play.audio.file = asked.audio->path.string();
    }
    if (asked.play.zones.empty()) {
        failReading("the member 'zones' is empty");
    }
    check(asked.play);
    requireConnected(services);
    asked.zones = chooseZones(asked.play.zones);
    asked.message = messageFor(asked.play);
    return asked;
}

}  // namespace papanel
