// Active announcement requests: record, cache, queries.
#include <algorithm>

#include "resource/common/stringUtils.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/records/cacheValues.h"
#include "sdk/records/recordColumns.h"

using namespace pa;

namespace {

/// An announcement record, and whether it has a message content of its own.
struct RequestRecord : AnnouncementRequest {
    bool hasContent = false;
};

void takeRequestId(RequestRecord& record, const char* text) {
    std::string id = text;
    translateElemStringFieldFromSvr(id);
    record.setRequestID(id);
}

void takeContent(RequestRecord& record, const char* text) {
    translated<&RequestRecord::messageContent>(record, text);
    record.hasContent = true;
}

constexpr Column<RequestRecord> columns[] = {
    takeRequestId,
    skipped,  // 1
    skipped,
    skipped,
    skipped,
    asReceived<&RequestRecord::stateText>,  // 5
    asReceived<&RequestRecord::startDateTime>,
    skipped,  // 7
    skipped,
    takeContent,  // 9
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,                                   // 15
    asReceived<&RequestRecord::priorityText>,  // 16
    skipped,
    asReceived<&RequestRecord::completionCode>,
    translated<&RequestRecord::completionMsg>,
};

/// A display template that ends as soon as it is displayed.
bool hasNoValidity(std::string content) {
    std::transform(content.begin(), content.end(), content.begin(), asciiLower);
    return content.find("\"validity\":0") != std::string::npos;
}

/// Takes types and zones out of the message content.
/// @return false when such a request is not tracked
bool parseContent(RequestRecord& record) {
    std::vector<std::string> parts;
    splitStr(record.messageContent.c_str(), ',', parts, false);
    const auto part = [&parts](std::size_t i) {
        return i < parts.size() ? parts[i] : std::string();
    };
    const int type = parts.empty() ? Message::NONE : decodeInt(parts[0].c_str());

    switch (type) {
        case Message::NONE:
        case Message::MIXED:
        case Message::TEMPLATE:
            return false;
        case Message::LIVE_STREAM:
        case Message::RECORDED_STREAM:
        case Message::DICTIONARY:
        case Message::TTS:
        case Message::BGM:
        case Message::TTS_SAF:
        case Message::RECORDED_STREAM_SAF:
            record.setAudioMessageType(static_cast<Message::Type>(type));
            break;
        default:
            record.setAudioMessageType(Message::NONE);
            break;
    }
    const bool isTemplate = type == Message::DISPLAY_TEMPLATE;
    if (isTemplate && hasNoValidity(part(3))) {
        return false;
    }
    record.setVisualMessageType(isTemplate ? Message::DISPLAY_TEMPLATE : Message::NONE);
    splitStr(part(2).c_str(), '^', record.zones, false);
    return true;
}

}  // namespace

void PAController::addUpdateAnnouncementRequest(int elemNo, TEVlist* elemArgList) {
    if (!hasRecord(elemArgList, "addUpdateAnnouncementRequest", elemNo)) {
        return;
    }
    RequestRecord record;
    {
        // Without the mutex: decoding does not wait for a callback that is running.
        const LeafGuard guard(lookupLock);
        const auto known = activeAnnouncementRequestList.find(elemNo);
        if (known != activeAnnouncementRequestList.end()) {
            static_cast<AnnouncementRequest&>(record) = known->second;
        }
    }
    record.id = elemNo;
    decodeRecord<columns>(*elemArgList, record);
    if (record.hasContent && !parseContent(record)) {
        return;
    }

    const AnnouncementRequest& request = record;
    const MutexGuard guard(paControllerMtx);
    {
        const LeafGuard leaf(lookupLock);
        activeAnnouncementRequestList[elemNo] = request;
    }
    const auto isActive = [&] {
        const LeafGuard leaf(lookupLock);
        return activeAnnouncementRequestList.count(elemNo) > 0;
    };
    notifyWhile(isActive, &PAControllerObserver::onMessageUpdate, request);
}

std::vector<AnnouncementRequest> PAController::getAnnouncementRequests() const {
    const MutexGuard guard(paControllerMtx);
    const LeafGuard leaf(lookupLock);
    return valuesOf(activeAnnouncementRequestList);
}

std::optional<AnnouncementRequest> PAController::findAnnouncementRequest(int key) const {
    const MutexGuard guard(paControllerMtx);
    const LeafGuard leaf(lookupLock);
    return valueAt(activeAnnouncementRequestList, key);
}
