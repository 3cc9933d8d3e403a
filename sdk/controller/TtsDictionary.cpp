// SPDX-License-Identifier: Apache-2.0
// The text-to-speech dictionary: record, cache, withdrawal, and the previews that its items answer.
#include "framework/clock.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/paDebug.h"
#include "sdk/records/BlankRecord.h"
#include "sdk/records/cacheValues.h"
#include "sdk/records/recordColumns.h"
#include "sdk/records/recordMerge.h"
#include "sdk/requests/checks.h"
#include "sdk/requests/queueOperation.h"
#include "sdk/requests/requestParts.h"

using namespace pa;

namespace {

constexpr double longestWait = 90.0;  // seconds
constexpr int failedPort = -1;        // of an item whose rendering failed

constexpr Column<TTSDictionary> columns[] = {
    integer<&TTSDictionary::portNo>,  translated<&TTSDictionary::uuid>,
    translated<&TTSDictionary::text>, translated<&TTSDictionary::fullName>,
    translated<&TTSDictionary::size>, translated<&TTSDictionary::checksum>,
    translated<&TTSDictionary::uri>,
};

constexpr Field<TTSDictionary> fields[] = {
    byValue<&TTSDictionary::portNo>, byValue<&TTSDictionary::uuid>,
    byValue<&TTSDictionary::text>,   byValue<&TTSDictionary::fullName>,
    byValue<&TTSDictionary::size>,   byValue<&TTSDictionary::checksum>,
    byValue<&TTSDictionary::uri>,
};

}  // namespace

void PAController::updateFromTTS_Dictionary(int key, TEVlist* record) {
    if (!hasRecord(record, "updateFromTTS_Dictionary", key)) {
        return;
    }
    BlankRecord<TTSDictionary> blank;
    TTSDictionary& decoded = *blank;
    decoded.key = key;
    decodeRecord<columns>(*record, decoded);

    const MutexGuard guard(paControllerMtx);
    const auto [entry, merged] =
        mergeRecord<fields>(ttsDictionaryList, key, decoded, matchByKey<TTSDictionary>);
    const TTSDictionary& item = entry->second;
    if (merged != Merge::Unchanged) {
        PASDK_DEBUG(1, "%s: TTS Dictionary Item >%d< UUID >%s< %s. Text >%s<",
                    "updateFromTTS_Dictionary", key, item.uuid.c_str(),
                    merged == Merge::Added ? "added" : "updated", item.text.c_str());
    }
    const std::string completed = completePreviews(item);
    const bool rendered = item.portNo != failedPort;
    const std::string uri = item.uri;  // an observer may have the item deleted
    notifyObservers(
        &PAControllerObserver::onAudioMessageRetrievalComplete, completed, rendered,
        rendered ? PAControllerObserver::MRE_NO_ERROR : PAControllerObserver::MRE_INVALID_PARAMS,
        uri);
}

void PAController::deleteFromTTS_Dictionary(int key) {
    const MutexGuard guard(paControllerMtx);
    eraseFrom(ttsDictionaryList, key);
}

std::vector<TTSDictionary> PAController::getTTSDictionaryList() const {
    const MutexGuard guard(paControllerMtx);
    return valuesOf(ttsDictionaryList);
}

// -------------------------------------------------------------------------------------- previews

// Operation 108/3: requestId,language,voice,rate,text
std::string Message::retrieveAudioMessage() const {
    require(audioMessageType == TTS && !ttsList.empty(), "invalid audio message type");
    std::string id = requestIdToUse();
    const TTSVocalizer& spoken = ttsList.front();
    Payload payload(usualRequestSize);
    payload.plain(id).separator(',').plain(spoken.language).separator(',').plain(spoken.voice);
    payload.separator(',').number(spoken.rate).separator(',').prepared(spoken.text);
    queueOperation(destination::directLink, operations::retrieveAudio, payload);
    TTSPendingInfo pending(spoken.portNo, spoken.language, spoken.voice, spoken.rate, spoken.text,
                           wallClock());
    gPaController.addToTTSPreviewPendingList(id, pending);
    return id;
}

void PAController::addToTTSPreviewPendingList(const std::string& requestKey, TTSPendingInfo& info) {
    const MutexGuard guard(paControllerMtx);
    const LeafGuard leaf(lookupLock);
    ttsPendingPreviewList[requestKey] = info;
}

/// Ends the previews that the item answers.
/// @return the key of the last of them, or the item's UUID when there is none
std::string PAController::completePreviews(const TTSDictionary& item) {
    std::string completed = item.uuid;
    const LeafGuard leaf(lookupLock);
    for (auto entry = ttsPendingPreviewList.begin(); entry != ttsPendingPreviewList.end();) {
        const TTSPendingInfo& pending = entry->second;
        if (pending.portNo == item.portNo && pending.text == item.text) {
            completed = entry->first;
            entry = ttsPendingPreviewList.erase(entry);
        } else {
            ++entry;
        }
    }
    return completed;
}

void PAController::giveUpOldPreviews() {
    const std::time_t now = wallClock();
    std::optional<std::string> old;
    while ((old = takeOldPreview(now, old))) {
        notifyObservers(&PAControllerObserver::onAudioMessageRetrievalComplete, *old, false,
                        PAControllerObserver::MRE_TIMED_OUT, std::string());
    }
}

/// Removes the first preview after a key that has waited too long. Takes a key, not an iterator: an
/// observer may clear the list, or ask again under the same key.
/// @return its key
std::optional<std::string> PAController::takeOldPreview(std::time_t now,
                                                        const std::optional<std::string>& after) {
    const LeafGuard leaf(lookupLock);
    auto& list = ttsPendingPreviewList;
    for (auto entry = after ? list.upper_bound(*after) : list.begin(); entry != list.end();
         ++entry) {
        if (std::difftime(now, entry->second.startTime) >= longestWait) {
            return list.extract(entry).key();
        }
    }
    return std::nullopt;
}
