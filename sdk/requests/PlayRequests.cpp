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
Payload partHead(Message::Type type, const std::string& origin,
                 const std::vector<std::string>& zones) {
    Payload part;
    part.number(type).separator(',').plain(origin).separator(',');
    return part.preparedList(zones, '^').separator(',');
}

void appendValue(Payload& payload, const DISPLAY_VALUE_INFO& value) {
    payload.plain(" { \"text\" : ")
        .prepared(value.text)
        .plain(", \"timeout\" : ")
        .number(value.timeout)
        .separator('}');
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
    const std::string origin = originText(localServer * 100LL + 1);
    Payload audio = partHead(audioMessageType, origin, zones);
    switch (audioMessageType) {
        case RECORDED_STREAM:
        case RECORDED_STREAM_SAF:
            audio.number(localServer).separator('^').plain(recordedStreamAbsoluteFilePathWithName);
            break;
        case DICTIONARY:
            appendItems(audio, audioDictionaryItems);
            audio.separator('!').number(repeatCnt);
            break;
        case TTS:
        case TTS_SAF:
            audio.list(ttsList, '!', [](Payload& p, const TTSVocalizer& spoken) {
                appendSpoken(p, spoken, spoken.rate);
            });
            break;
        default:
            break;
    }
    Payload visual = partHead(visualMessageType, origin, zones);
    if (visualMessageType == DISPLAY_TEMPLATE && !displayKeyValueList.empty()) {
        visual.prepared(templateText());
    }
    for (Payload* const part : {&audio, &visual}) {
        part->separator(',');
        if (overrideDefaultGain) {
            part->level(gain);
        }
        part->separator(',').number(preChime).separator('^').number(postChime).plain("^0");
    }

    Payload request;
    request.prepared(id).separator(',').number(priority.mode).separator(',').number(priority.level);
    if (audioMessageType != NONE) {
        request.separator(',').prepared(audio.text());
    }
    if (visualMessageType != NONE) {
        request.separator(',').prepared(visual.text());
    }
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

// { "kvPairs" : { "KEY" : { "type" : "literal", "values" : [ { "text" : VALUE, "timeout" : N}, ...
// ] }, ... }, "validity" : SECONDS }
std::string Message::templateText() const {
    Payload text;
    text.plain("{ \"kvPairs\" : {");
    text.list(displayKeyValueList, ',', [](Payload& payload, const auto& variable) {
        payload.plain(" \"")
            .plain(variable.first)
            .plain("\" : { \"type\" : \"literal\", \"values\" : [")
            .list(variable.second, ',', appendValue)
            .plain(" ] }");
    });
    text.plain(" }, \"validity\" : ").number(displayValidityPeriod).plain(" }");
    return text.text();
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
    const auto sendPart = [&gain](Payload& part) {
        part.separator(',').level(gain.getLevel()).plain(",,startCondition,stopCondition,0,0,0,0");
        // No request id, absolute priority 500.
        send(operations::playMessage, Payload().plain("\"\",0,500,").prepared(part.text()));
    };

    if (!zones.empty() && !dictionaryItems.empty()) {
        Payload audio = partHead(Message::DICTIONARY, origin, zones);
        appendItems(audio, dictionaryItems);
        audio.separator('!').number(mode == 1 ? 0 : 1);
        sendPart(audio);
    }
    if (!visualDevices.empty() && visualText != nullptr) {
        Payload visual;
        visual.number(Message::DISPLAY).separator(',').plain(origin).separator(',');
        visual.list(visualDevices, '^',
                    [](Payload& p, const std::string& device) { p.plain(device); });
        visual.separator(',').prepared(visualText);
        sendPart(visual);
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
    send(operations::cancelMessage, Payload().prepared(requestId));
}

// Operation 92/18: "",type
void PAController::cancelMessage(Message::Type messageType) {
    send(operations::cancelMessage, Payload().prepared("").separator(',').number(messageType));
}
