// SPDX-License-Identifier: Apache-2.0
// Active announcement requests: record, cache, queries.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "resource/common/stringUtils.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/records/BlankRecord.h"
#include "sdk/records/cacheValues.h"
#include "sdk/records/recordColumns.h"

using namespace pa;

namespace {

/// The texts of an announcement record; one without data is absent.
struct RequestRecord {
    std::string_view requestId;
    std::string_view stateText;
    std::string_view startDateTime;
    std::string_view messageContent;
    std::string_view priorityText;
    std::string_view completionCode;
    std::string_view completionMsg;
    std::string plainId;
    std::string plainContent;
};

constexpr Column<RequestRecord> columns[] = {
    encoded<&RequestRecord::requestId>,
    skipped,  // 1
    skipped,
    skipped,
    skipped,
    asReceived<&RequestRecord::stateText>,  // 5
    asReceived<&RequestRecord::startDateTime>,
    skipped,  // 7
    skipped,
    encoded<&RequestRecord::messageContent>,  // 9
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,                                   // 15
    asReceived<&RequestRecord::priorityText>,  // 16
    skipped,
    asReceived<&RequestRecord::completionCode>,
    encoded<&RequestRecord::completionMsg>,
};

/// What the message content says of the request.
struct RequestContent {
    Message::Type audioType = Message::NONE;
    Message::Type visualType = Message::NONE;
    std::vector<std::string> zones;
};

/// A display template that ends as soon as it is displayed.
bool hasNoValidity(std::string content) {
    std::transform(content.begin(), content.end(), content.begin(), asciiLower);
    return content.find("\"validity\":0") != std::string::npos;
}

/// @param list type,origin,zones,content,...
/// @return nothing when such a request is not tracked
std::optional<RequestContent> parseContent(std::string list) {
    TokenReader tokens(list.data(), ',');
    const char* const typeNumber = tokens.next();
    const int type = typeNumber != nullptr ? decodeInt(typeNumber) : Message::NONE;
    tokens.next();  // the origin
    char* const zones = tokens.next();

    RequestContent content;
    switch (type) {
        case Message::NONE:
        case Message::MIXED:
        case Message::TEMPLATE:
            return std::nullopt;
        case Message::LIVE_STREAM:
        case Message::RECORDED_STREAM:
        case Message::DICTIONARY:
        case Message::TTS:
        case Message::BGM:
        case Message::TTS_SAF:
        case Message::RECORDED_STREAM_SAF:
            content.audioType = static_cast<Message::Type>(type);
            break;
        case Message::DISPLAY_TEMPLATE:
            if (const char* const display = tokens.next();
                display != nullptr && hasNoValidity(display)) {
                return std::nullopt;
            }
            content.visualType = Message::DISPLAY_TEMPLATE;
            break;
        default:
            break;
    }
    if (zones != nullptr) {
        assignTokens(TokenReader(zones, '^'), content.zones);
    }
    return content;
}

void take(std::string_view text, std::string& member) {
    if (text.data() != nullptr) {
        member = text;
    }
}

/// Takes what the record brings, but for the message content.
void update(AnnouncementRequest& request, const RequestRecord& record) {
    if (record.requestId.data() != nullptr) {
        request.setRequestID(record.plainId);
    }
    take(record.stateText, request.stateText);
    take(record.startDateTime, request.startDateTime);
    take(record.priorityText, request.priorityText);
    take(record.completionCode, request.completionCode);
    if (record.completionMsg.data() != nullptr) {
        assignDecoded(request.completionMsg, record.completionMsg);
    }
}

}  // namespace

void PAController::addUpdateAnnouncementRequest(int elemNo, TEVlist* elemArgList) {
    if (!hasRecord(elemArgList, "addUpdateAnnouncementRequest", elemNo)) {
        return;
    }
    BlankRecord<RequestRecord> blank;
    RequestRecord& record = *blank;
    decodeRecord<columns>(*elemArgList, record);
    assignDecoded(record.plainId, record.requestId);
    assignDecoded(record.plainContent, record.messageContent);
    const bool hasContent = record.messageContent.data() != nullptr;
    // Without the mutex: decoding does not wait for a callback that is running.
    const auto isKnown = [&](const std::string& content) {
        const LeafGuard leaf(lookupLock);
        const auto known = activeAnnouncementRequestList.find(elemNo);
        return known != activeAnnouncementRequestList.end() && !content.empty() &&
               known->second.messageContent == content;
    };
    std::optional<RequestContent> content;  // unless the request is known with the same
    if (hasContent && !isKnown(record.plainContent)) {
        content = parseContent(record.plainContent);
        if (!content) {
            return;
        }
    }

    const MutexGuard guard(paControllerMtx);
    std::optional<AnnouncementRequest> reported;
    {
        const LeafGuard leaf(lookupLock);
        AnnouncementRequest& request = activeAnnouncementRequestList[elemNo];
        request.id = elemNo;
        update(request, record);
        if (hasContent && request.messageContent != record.plainContent) {
            if (!content) {
                content = parseContent(record.plainContent);  // it has been withdrawn since
            }
            request.messageContent = record.plainContent;
            request.setAudioMessageType(content->audioType);
            request.setVisualMessageType(content->visualType);
            request.zones.swap(content->zones);
        }
        if (!observers().empty()) {
            reported = request;
        }
    }
    const auto isActive = [&] {
        const LeafGuard leaf(lookupLock);
        return activeAnnouncementRequestList.find(elemNo) != activeAnnouncementRequestList.end();
    };
    // A reset removes requests without the mutex, maybe this one already.
    if (!reported || !isActive()) {
        return;
    }
    notifyWhile(isActive, &PAControllerObserver::onMessageUpdate, std::move(*reported));
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
