// SPDX-License-Identifier: Apache-2.0
// Playing and cancelling: how a message becomes the request that the server receives.
#include "framework/uuid.h"
#include "sdk/AudioServer.h"
#include "sdk/Message.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/globals.h"
#include "sdk/requests/checks.h"
#include "sdk/requests/queueOperation.h"
#include "sdk/requests/requestParts.h"

using namespace pa;

namespace {

void send(OperationType type, const Payload& payload) {
    queueOperation(destination::indirectLink, type, payload);
}

bool upload(const std::string& localPath, const std::string& serverPath) {
    AudioServer* const audioServer = load(gAudioServerInstance);
    return audioServer != nullptr &&
           audioServer->uploadFileToActiveServer(localPath, serverPath) == 1;
}

void appendItems(Payload& payload, const std::vector<unsigned>& items) {
    payload.list(items, '^', [](Payload& p, unsigned item) { p.number(item); });
}

// type,origin,zones, - the beginning of both parts of a request
void appendPartHead(Payload& part, Message::Type type, std::string_view origin,
                    const std::vector<std::string>& zones) {
    part.number(type).separator(',').plain(origin);
    part.separator(',').preparedList(zones, '^').separator(',');
}

void appendValue(Payload& payload, const DISPLAY_VALUE_INFO& value) {
    payload.plain(" { \"text\" : ")
        .prepared(value.text)
        .plain(", \"timeout\" : ")
        .number(value.timeout)
        .separator('}');
}

// { "kvPairs" : { "KEY" : { "type" : "literal", "values" : [ { "text" : VALUE, "timeout" : N}, ...
// ] }, ... }, "validity" : SECONDS }
void appendTemplate(Payload& payload, const Message::DisplayVariables& variables, int validity) {
    payload.plain("{ \"kvPairs\" : {");
    payload.list(variables, ',', [](Payload& p, const auto& variable) {
        p.plain(" \"")
            .plain(variable.first)
            .plain("\" : { \"type\" : \"literal\", \"values\" : [")
            .list(variable.second, ',', appendValue)
            .plain(" ] }");
    });
    payload.plain(" }, \"validity\" : ").number(validity).plain(" }");
}

}  // namespace

// Operation 92/17: id,mode,level[,audio part][,visual part]
// A part: type,origin,zone^zone,content,gain,preChime^postChime^0
std::string Message::playAnnouncement(const std::vector<std::string>& zones) {
    require(!playedOnce, "message has been played once. please create new Message object");
    require(audioMessageType != NONE || visualMessageType != NONE,
            "audio message type OR visual message type not set. nothing to do");
    std::string id = requestIdToUse();
    if (!pathToRecordedStreamToUpload.empty() &&
        !upload(pathToRecordedStreamToUpload, recordedStreamAbsoluteFilePathWithName)) {
        gPaController.notifyUploadFailed(id);
        return id;
    }

    const int localServer = load(gLocalDstNo);
    const auto appendAudio = [&](Payload& part) {
        switch (audioMessageType) {
            case RECORDED_STREAM:
            case RECORDED_STREAM_SAF:
                part.number(localServer).separator('^');
                part.plain(recordedStreamAbsoluteFilePathWithName);
                break;
            case DICTIONARY:
                appendItems(part, audioDictionaryItems);
                part.separator('!').number(repeatCnt);
                break;
            case TTS:
            case TTS_SAF:
                part.list(ttsList, '!', [](Payload& p, const TTSVocalizer& spoken) {
                    appendSpoken(p, spoken, spoken.rate);
                });
                break;
            default:
                break;
        }
    };
    const auto appendVisual = [&](Payload& part) {
        if (visualMessageType == DISPLAY_TEMPLATE && !displayKeyValueList.empty()) {
            part.nested([&](Payload& content) {
                appendTemplate(content, displayKeyValueList, displayValidityPeriod);
            });
        }
    };
    const std::string origin = originText(localServer * 100LL + 1);
    Payload request(usualRequestSize);
    request.prepared(id).separator(',').number(priority.mode).separator(',').number(priority.level);
    const auto appendPart = [&](Type type, const auto& appendContent) {
        if (type == NONE) {
            return;
        }
        request.separator(',').nested([&](Payload& part) {
            appendPartHead(part, type, origin, zones);
            appendContent(part);
            part.separator(',');
            if (overrideDefaultGain) {
                part.level(gain);
            }
            part.separator(',').number(preChime).separator('^').number(postChime).plain("^0");
        });
    };
    appendPart(audioMessageType, appendAudio);
    appendPart(visualMessageType, appendVisual);
    send(operations::playMessage, request);
    playedOnce = true;
    return id;
}

std::string Message::requestIdToUse() const {
    constexpr std::size_t shortest = 6;
    constexpr std::size_t longest = 63;
    std::string id = requestId;
    if (id.size() < shortest || id.size() > longest) {
        generateUUID(id);
    }
    return id;
}

void PAController::notifyUploadFailed(const std::string& requestId) {
    AnnouncementRequest failed;
    failed.setRequestID(requestId);
    notifyObservers(&PAControllerObserver::onMessageDelete, failed);
}

std::string PAController::playMessage(const std::vector<std::string>& zones, Message& message) {
    return message.playAnnouncement(zones);
}

// Operation 92/17, with parts of its own: type,origin,zone^zone,content,gain,,startCondition,
// stopCondition,0,0,0,0
unsigned PAController::playMessage(const std::vector<std::string>& zones,
                                   const std::vector<std::string>& visualDevices, const Gain& gain,
                                   const std::vector<unsigned>& dictionaryItems,
                                   const char* visualText, bool resumeOnInterruptFlag,
                                   bool /*overrideExisting*/, unsigned /*validityPeriod*/,
                                   unsigned /*priority*/, unsigned mode) {
    require(!resumeOnInterruptFlag,
            "resumeOnInterruptFlag is reserved for future use. Only false can be sent as this "
            "argument");
    // Unlike a message, whose origin is a number of its own.
    const std::string origin = originText(load(gLocalDstNo));
    const auto sendPart = [&gain](auto appendPart) {
        Payload request(usualRequestSize);
        // No request id, absolute priority 500.
        request.plain("\"\",0,500,").nested([&](Payload& part) {
            appendPart(part);
            part.separator(',').level(gain.getLevel());
            part.plain(",,startCondition,stopCondition,0,0,0,0");
        });
        send(operations::playMessage, request);
    };

    if (!zones.empty() && !dictionaryItems.empty()) {
        sendPart([&](Payload& audio) {
            appendPartHead(audio, Message::DICTIONARY, origin, zones);
            appendItems(audio, dictionaryItems);
            audio.separator('!').number(mode == 1 ? 0 : 1);
        });
    }
    if (!visualDevices.empty() && visualText != nullptr) {
        sendPart([&](Payload& visual) {
            visual.number(Message::DISPLAY).separator(',').plain(origin);
            visual.separator(',').list(
                visualDevices, '^', [](Payload& p, std::string_view device) { p.plain(device); });
            visual.separator(',').prepared(visualText);
        });
    }
    return 0;
}

unsigned PAController::playMessage(const std::vector<std::string>& zones,
                                   const std::vector<std::string>& visualDevices, const Gain& gain,
                                   const std::vector<unsigned>& dictionaryItems,
                                   const char* visualText, const PlayMessageParams& params) {
    return playMessage(zones, visualDevices, gain, dictionaryItems, visualText,
                       params.resumeOnInterruptFlag, params.overrideExisting, params.validityPeriod,
                       params.priority, params.mode);
}

void PAController::cancelMessage(unsigned messageId) {
    if (messageId != 0) {
        handleError(3, "%s: messageId > 0 is not supported", "cancelMessage");
        return;
    }
    cancelMessage(Message::DICTIONARY);
}

// Operation 92/18: id
void PAController::cancelMessage(const std::string& requestId) {
    send(operations::cancelMessage, Payload::of(requestId));
}

// Operation 92/18: "",type
void PAController::cancelMessage(Message::Type messageType) {
    send(operations::cancelMessage, Payload().prepared("").separator(',').number(messageType));
}
