// SPDX-License-Identifier: Apache-2.0
// Text-to-speech ports: record, cache, withdrawal, queries.
#include "sdk/PAController.h"
#include "sdk/paDebug.h"
#include "sdk/records/cacheValues.h"
#include "sdk/records/recordColumns.h"
#include "sdk/records/recordMerge.h"

using namespace pa;

namespace {

constexpr Column<TTSVocalizer> columns[] = {
    translated<&TTSVocalizer::language>,
    translated<&TTSVocalizer::voice>,
    integer<&TTSVocalizer::rate>,
    translated<&TTSVocalizer::text>,
};

constexpr Field<TTSVocalizer> fields[] = {
    byValue<&TTSVocalizer::language>,
    byValue<&TTSVocalizer::voice>,
    byValue<&TTSVocalizer::rate>,
    byValue<&TTSVocalizer::text>,
};

}  // namespace

void PAController::updateFromTTS_Ports(int portNo, TEVlist* record) {
    if (!hasRecord(record, "updateFromTTS_Ports", portNo)) {
        return;
    }
    TTSVocalizer decoded;
    decoded.portNo = portNo;
    decodeRecord<columns>(*record, decoded);

    const MutexGuard guard(paControllerMtx);
    const auto [entry, merged] =
        mergeRecord<fields>(ttsVocalizertList, portNo, decoded, matchByKey<TTSVocalizer>);
    if (merged != Merge::Unchanged) {
        PASDK_DEBUG(1, "%s: %s - TTS Dictionary Port >%d< Language >%s< Voice >%s< Rate >%d<",
                    "updateFromTTS_Ports", merged == Merge::Added ? "Added" : "Updated", portNo,
                    entry->second.language.c_str(), entry->second.voice.c_str(),
                    entry->second.rate);
    }
}

void PAController::deleteFromTTS_Ports(int portNo) {
    const MutexGuard guard(paControllerMtx);
    eraseFrom(ttsVocalizertList, portNo);
}

std::vector<TTSVocalizer> PAController::getTTSVocalizerList() const {
    const MutexGuard guard(paControllerMtx);
    return valuesWith(ttsVocalizertList, &TTSVocalizer::rate, TTSVocalizer::usableRate);
}
