// SPDX-License-Identifier: Apache-2.0
// PA sinks: record, cache, queries, operations.
#include <array>
#include <stdexcept>
#include <string_view>

#include "resource/common/stringUtils.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/controller/notify.h"
#include "sdk/globals.h"
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

/// The names end at 7 on purpose: the types above are valid and have none.
constexpr std::array<std::string_view, 8> typeNames = {
    "SINK_TYPE_NOT_DEFINED", "HIGH_IMPEDANCE_SPEAKER_BUS", "LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT",
    "INDUCTION_LOOP_OUTPUT", "LINE_LEVEL_AUDIO_OUTPUT",    "INTERCOM_HELP_POINT",
    "TELEPHONY_ENDPOINT",    "RADIO_REBROADCAST",
};

/// A sink record: the sink, and the text of its zone list.
struct SinkRecord : KeepsTexts<PaSink, &PaSink::paZoneList> {
    std::string zones;
};

void takeType(SinkRecord& record, const char* text) {
    const int type = decodeInt(text);
    const bool named = type >= 0 && type < static_cast<int>(typeNames.size());
    record.type = static_cast<PaSink::Type>(type);
    record.typeAsString = named ? typeNames[static_cast<std::size_t>(type)] : "UNKNOWN_TYPE";
}

void takeZoneList(SinkRecord& record, const char* text) {
    translated<&SinkRecord::zones>(record, text);
    record.assignTexts(TokenReader(record.zones.data(), '^'));
}

constexpr Column<SinkRecord> columns[] = {
    integer<&SinkRecord::id>,
    translated<&SinkRecord::location>,
    translated<&SinkRecord::label>,
    asReceived<&SinkRecord::ipAddress>,
    takeType,
    skipped,  // 5
    asReceived<&SinkRecord::ampPortList>,
    integer<&SinkRecord::state>,
    skipped,  // 8
    integer<&SinkRecord::announcementType>,
    skipped,  // 10
    [](SinkRecord& record, const char* text) { record.outputGain.setLevel(decodeDouble(text)); },
    integer<&SinkRecord::muteState>,
    skipped,  // 13
    skipped,
    integer<&SinkRecord::monitoringSinkId>,  // 15
    skipped,
    integer<&SinkRecord::healthState>,
    skipped,  // 18
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,       // 25
    takeZoneList,  // 26
    [](SinkRecord& record, const char* text) { record.monitoringEnabled = decodeInt(text) == 1; },
    [](SinkRecord& record, const char* text) {
        splitStr(text, '^', record.monitoringZoneList, false);
    },
    skipped,  // 29
    skipped,
    translated<&SinkRecord::mediaLog>,  // 31
};

/// The name of the type is not among them: a sink keeps the one it was added with.
constexpr Field<PaSink> fields[] = {
    byValue<&PaSink::location>,          byValue<&PaSink::label>,
    byValue<&PaSink::ipAddress>,         byValue<&PaSink::type>,
    byValue<&PaSink::ampPortList>,       byValue<&PaSink::state>,
    byValue<&PaSink::announcementType>,  byValue<&PaSink::outputGain>,
    byValue<&PaSink::muteState>,         byValue<&PaSink::monitoringSinkId>,
    byValue<&PaSink::healthState>,       bySize<&PaSink::paZoneList>,
    byValue<&PaSink::monitoringEnabled>, bySize<&PaSink::monitoringZoneList>,
    byValue<&PaSink::mediaLog>,
};

bool hasGain(PaSink::Type type) {
    return type >= PaSink::HIGH_IMPEDANCE_SPEAKER_BUS && type <= PaSink::LINE_LEVEL_AUDIO_OUTPUT;
}

}  // namespace

void PAController::addUpdatePaSink(int elemNo, TEVlist* elemArgList) {
    if (!hasRecord(elemArgList, "addUpdatePaSink", elemNo)) {
        return;
    }
    BlankRecord<SinkRecord> blank;
    SinkRecord& decoded = *blank;
    decodeRecord<columns>(*elemArgList, decoded);

    const MutexGuard guard(paControllerMtx);
    bool hasNewLog = false;
    const auto isSameSink = [&hasNewLog](const PaSink& cached, const PaSink& reported) {
        hasNewLog = cached.mediaLog != reported.mediaLog && !reported.mediaLog.empty();
        return matchById(cached, reported);
    };
    const auto [entry, merged] =
        mergeRecord<fields, PaSink>(availablePaSinks, elemNo, decoded, isSameSink);
    const PaSink& sink = entry->second;
    if (merged == Merge::Updated) {
        AudioServer* const audioServer = load(gAudioServerInstance);
        if (audioServer != nullptr && hasNewLog) {
            audioServer->addCampaignLog(sink.mediaLog);
        }
        PASDK_DEBUG(1, "%s: sinkId >%d< updated", "addUpdatePaSink", sink.id);
    } else if (merged == Merge::Added) {
        PASDK_DEBUG(1, "%s: sinkId >%d< added to list. Total sinks >%zd<", "addUpdatePaSink",
                    sink.id, availablePaSinks.size());
    }
    publish(availablePaSinks, entry, merged != Merge::Unchanged,
            &PAControllerObserver::onPaSinkUpdate, EventItem::PA_SINK_UPDATED);
}

std::vector<PaSink> PAController::getPaSinks(int sourceId) const {
    if (sourceId <= 0 && sourceId != -1) {
        return {};
    }
    const MutexGuard guard(paControllerMtx);
    return valuesOf(availablePaSinks);
}

std::vector<PaSink> PAController::getPaSinks() const {
    return getPaSinks(-1);
}

std::optional<PaSink> PAController::findPaSink(int key) const {
    const MutexGuard guard(paControllerMtx);
    return valueAt(availablePaSinks, key);
}

// Operation 92/8: id,level,persistent,delayPersistence
void PaSink::setGain(Gain gain, bool persistent, bool delayPersistence) const {
    const double level = gain.getLevel();
    requireType<std::invalid_argument>(hasGain(type), "setGain: Unsupported Sink Type", type);
    // Not a range test: a level that is no number is sent.
    require<std::out_of_range>(!(level < -96.0 || level > 0.0),
                               "PaSink::setGain(): Invalid Gain Level. Valid Range [-96, 0]");
    queueOperation(destination::directLink, operations::setSinkGain,
                   gainPayload(id, level, persistent, delayPersistence));
}

Gain PaSink::getGain() const {
    requireType<std::out_of_range>(hasGain(type), "getGain: Unsupported Sink Type", type);
    return outputGain;
}

// Operation 92/10: enable,id
void PaSink::setPAMonitoring(bool enable) const {
    queueOperation(destination::directLink, operations::setMonitoring,
                   Payload().flag(enable).separator(',').number(id));
}

bool PaSink::getPAMonitoring() const {
    return monitoringEnabled;
}

// Operation 92/29: id
void PaSink::reset() const {
    requireType<std::out_of_range>(type == ZENTRIQ_KPL2 || type == ZENTRIQ_RMX4,
                                   "reset: Unsupported Sink Type", type);
    queueOperation(destination::directLink, operations::resetSink, Payload().number(id));
}
