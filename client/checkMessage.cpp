// SPDX-License-Identifier: Apache-2.0
#include "client/checkMessage.h"

#include <algorithm>
#include <cstdlib>

#include "client/messageParts.h"
#include "sdk/PAController.h"

namespace paclient {

namespace {

using Kind = Finding::Kind;

/// What the checks of one message look at.
struct Situation {
    const Message& message;
    const std::vector<PaZone> zones = gPaController.getPaZones();
    const std::vector<AnnouncementRequest> active = gPaController.getAnnouncementRequests();
};

std::string quoted(const std::string& zone) {
    return "zone '" + zone + "'";
}

bool isFaulty(int health) {
    return health >= PaSink::MINOR_FAULT;
}

/// The priority of a request, read from the server's text, for example "Absolute 500".
std::optional<MessagePriority> priorityOf(const AnnouncementRequest& request) {
    const std::string& text = request.priorityText;
    const std::size_t number = text.find_first_of("+-0123456789");
    if (number == std::string::npos) {
        return std::nullopt;
    }
    const bool isRelative = text.compare(0, 8, "Relative") == 0;
    return MessagePriority(isRelative ? APM_RELATIVE_PRIORITY : APM_ABSOLUTE_PRIORITY,
                           std::atoi(text.c_str() + number));
}

bool competes(const AnnouncementRequest& request, const Message& message) {
    return (hasAudioPart(request) && hasAudioPart(message)) ||
           (hasVisualPart(request) && hasVisualPart(message));
}

/// Whether a request, played in some zones, takes place in a zone or a part of it.
bool concerns(const AnnouncementRequest& request, const std::string& zone) {
    return std::any_of(request.zones.begin(), request.zones.end(), [&](const std::string& its) {
        return isWithin(its, zone) || isWithin(zone, its);
    });
}

void checkSinks(const PaZone& zone, std::vector<Finding>& findings) {
    const std::vector<PaSink> sinks = zone.getMembers();
    if (sinks.empty()) {
        findings.push_back({Kind::EmptyZone, zone.id, quoted(zone.id) + " has no sinks"});
        return;
    }
    const auto faulty = std::find_if(sinks.begin(), sinks.end(),
                                     [](const PaSink& sink) { return isFaulty(sink.healthState); });
    if (isFaulty(zone.health)) {
        findings.push_back(
            {Kind::FaultyZone, zone.id, quoted(zone.id) + " is reported as " + zone.healthText});
    } else if (faulty != sinks.end()) {
        findings.push_back({Kind::FaultyZone, zone.id,
                            quoted(zone.id) + ": sink " + std::to_string(faulty->id) + " (" +
                                faulty->label + ") is faulty or inactive"});
    }
}

void checkZone(const Situation& now, const std::string& id, std::vector<Finding>& findings) {
    const auto zone = std::find_if(now.zones.begin(), now.zones.end(),
                                   [&](const PaZone& known) { return known.id == id; });
    if (zone == now.zones.end()) {
        findings.push_back({Kind::UnknownZone, id, "there is no " + quoted(id)});
        return;
    }
    checkSinks(*zone, findings);
    for (const AnnouncementRequest& request : now.active) {
        const bool isAhead =
            competes(request, now.message) && isHigher(request, now.message.getPriority());
        if (isAhead && concerns(request, id)) {
            findings.push_back({Kind::BusyZone, id,
                                quoted(id) + " is taken by request " + request.getRequestID() +
                                    " with the priority " + request.priorityText});
            return;
        }
    }
}

void checkVoices(const Message& message, std::vector<Finding>& findings) {
    const auto voices = gPaController.getTTSVocalizerList();
    for (const TTSVocalizer& spoken : message.getAudioMessageTTSList()) {
        const bool isKnown =
            std::any_of(voices.begin(), voices.end(), [&](const TTSVocalizer& voice) {
                return voice.language == spoken.language && voice.voice == spoken.voice;
            });
        if (!isKnown) {
            findings.push_back({Kind::UnknownVoice, spoken.language + '/' + spoken.voice,
                                "there is no voice '" + spoken.voice + "' of the language '" +
                                    spoken.language + "'"});
        }
    }
}

/// Dictionary items, chimes and the recording.
void checkContent(const Message& message, const Playable& playable,
                  std::vector<Finding>& findings) {
    const auto require = [&findings](bool isKnown, const char* kind, const std::string& subject) {
        if (!isKnown) {
            findings.push_back(
                {Kind::UnknownItem, subject, std::string("there is no ") + kind + ' ' + subject});
        }
    };
    for (const unsigned item : message.getAudioMessageDictionaryItems()) {
        require(playable.items.count(item) > 0, "dictionary item", std::to_string(item));
    }
    for (const int chime : {message.getPreChime(), message.getPostChime()}) {
        require(chime == 0 || playable.chimes.count(chime) > 0, "chime", std::to_string(chime));
    }
    if (message.getAudioMessageType() == Message::RECORDED_STREAM) {
        const std::string path = message.getAudioMessageAbsoluteFilePath();
        require(playable.recordings.count(path) > 0, "recording", path);
    }
}

}  // namespace

bool isRefused(Finding::Kind kind) {
    return kind == Kind::UnknownZone || kind == Kind::UnknownVoice || kind == Kind::UnknownItem;
}

bool isHigher(const AnnouncementRequest& request, const MessagePriority& priority) {
    const auto other = priorityOf(request);
    return other && other->mode == priority.mode && other->level > priority.level;
}

bool isWithin(const std::string& zone, const std::string& outer) {
    return zone.compare(0, outer.size(), outer) == 0 &&
           (zone.size() == outer.size() || zone[outer.size()] == '/');
}

std::vector<Finding> checkMessage(const std::vector<std::string>& zoneIds, const Message& message,
                                  const std::optional<Playable>& playable) {
    std::vector<Finding> findings;
    const Situation now{message};
    for (const std::string& zone : zoneIds) {
        checkZone(now, zone, findings);
    }
    checkVoices(message, findings);
    if (playable) {
        checkContent(message, *playable, findings);
    }
    return findings;
}

}  // namespace paclient
