// The room of PA sinks: record, cache, queries, operations.
#include <array>
#include <stdexcept>

#include "resource/common/stringUtils.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/Payload.h"
#include "sdk/QXReceiver.h"
#include "sdk/cacheValues.h"
#include "sdk/destination.h"
#include "sdk/globals.h"
#include "sdk/notify.h"
#include "sdk/paDebug.h"
#include "sdk/recordColumns.h"
#include "sdk/recordMerge.h"
#include "sdk/unsupportedType.h"

namespace {

/// The names end at 7 on purpose: the types above are valid and have none.
constexpr std::array<const char*, 8> typeNames = {
    "SINK_TYPE_NOT_DEFINED", "HIGH_IMPEDANCE_SPEAKER_BUS", "LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT",
    "INDUCTION_LOOP_OUTPUT", "LINE_LEVEL_AUDIO_OUTPUT",    "INTERCOM_HELP_POINT",
    "TELEPHONY_ENDPOINT",    "RADIO_REBROADCAST",
};

void takeType(PaSink& sink, const char* text) {
    const int type = decodeInt(text);
    const bool named = type >= 0 && type < static_cast<int>(typeNames.size());
    sink.type = static_cast<PaSink::Type>(type);
    sink.typeAsString = named ? typeNames[static_cast<std::size_t>(type)] : "UNKNOWN_TYPE";
}

void takeZoneList(PaSink& sink, const char* text) {
    std::string zones = text;
    translateElemStringFieldFromSvr(zones);
    splitStr(zones.c_str(), '^', sink.paZoneList, false);
}

constexpr Column<PaSink> columns[] = {
    integer<&PaSink::id>,
    translated<&PaSink::location>,
    translated<&PaSink::label>,
    asReceived<&PaSink::ipAddress>,
    takeType,
    skipped,  // 5
    asReceived<&PaSink::ampPortList>,
    integer<&PaSink::state>,
    skipped,  // 8
    integer<&PaSink::announcementType>,
    skipped,  // 10
    [](PaSink& sink, const char* text) { sink.outputGain.setLevel(decodeDouble(text)); },
    integer<&PaSink::muteState>,
    skipped,  // 13
    skipped,
    integer<&PaSink::monitoringSinkId>,  // 15
    skipped,
    integer<&PaSink::healthState>,
    skipped,  // 18
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,
    skipped,       // 25
    takeZoneList,  // 26
    [](PaSink& sink, const char* text) { sink.monitoringEnabled = decodeInt(text) == 1; },
    [](PaSink& sink, const char* text) { splitStr(text, '^', sink.monitoringZoneList, false); },
    skipped,  // 29
    skipped,
    translated<&PaSink::mediaLog>,  // 31
};

/// The name of the type is not among them: a sink keeps the one it was added with.
constexpr Field<PaSink> fields[] = {
    byValue<PaSink, &PaSink::location>,          byValue<PaSink, &PaSink::label>,
    byValue<PaSink, &PaSink::ipAddress>,         byValue<PaSink, &PaSink::type>,
    byValue<PaSink, &PaSink::ampPortList>,       byValue<PaSink, &PaSink::state>,
    byValue<PaSink, &PaSink::announcementType>,  byValue<PaSink, &PaSink::outputGain>,
    byValue<PaSink, &PaSink::muteState>,         byValue<PaSink, &PaSink::monitoringSinkId>,
    byValue<PaSink, &PaSink::healthState>,       bySize<PaSink, &PaSink::paZoneList>,
    byValue<PaSink, &PaSink::monitoringEnabled>, bySize<PaSink, &PaSink::monitoringZoneList>,
    byValue<PaSink, &PaSink::mediaLog>,
};

bool hasGain(PaSink::Type type) {
    return type >= PaSink::HIGH_IMPEDANCE_SPEAKER_BUS && type <= PaSink::LINE_LEVEL_AUDIO_OUTPUT;
}

}  // namespace

void PAController::addUpdatePaSink(int elemNo, TEVlist* elemArgList) {
    if (!hasRecord(elemArgList, "addUpdatePaSink", elemNo)) {
        return;
    }
    PaSink decoded;
    decodeRecord(*elemArgList, columns, decoded);

    const MutexGuard guard(paControllerMtx);
    const auto known = availablePaSinks.find(elemNo);
    const std::string mediaLogBefore =
        known != availablePaSinks.end() ? known->second.mediaLog : std::string();
    const Merge merged = mergeRecord(availablePaSinks, elemNo, decoded, fields, matchById<PaSink>);
    const PaSink& sink = availablePaSinks.at(elemNo);
    if (merged == Merge::Updated) {
        AudioServer* const audioServer = gAudioServerInstance;
        if (audioServer != nullptr && sink.mediaLog != mediaLogBefore && !sink.mediaLog.empty()) {
            audioServer->addCampaignLog(sink.mediaLog);
        }
        PA_DEBUG(1, "%s: sinkId >%d< updated", "addUpdatePaSink", sink.id);
    } else if (merged == Merge::Added) {
        PA_DEBUG(1, "%s: sinkId >%d< added to list. Total sinks >%zd<", "addUpdatePaSink", sink.id,
                 availablePaSinks.size());
    }
    publish(availablePaSinks, elemNo, merged != Merge::Unchanged,
            &PAControllerObserver::onPaSinkUpdate, EventItem::PA_SINK_UPDATED);
}

std::vector<PaSink> PAController::getPaSinks(int sourceId) {
    if (sourceId <= 0 && sourceId != -1) {
        return {};
    }
    const MutexGuard guard(paControllerMtx);
    return valuesOf(availablePaSinks);
}

std::vector<PaSink> PAController::getPaSinks() {
    return getPaSinks(-1);
}

// Operation 92/8: id,level,persistent,delayPersistence
void PaSink::setGain(Gain gain, bool persistent, bool delayPersistence) {
    if (!hasGain(type)) {
        throwUnsupportedType<std::invalid_argument>("setGain: Unsupported Sink Type", type);
    }
    if (gain.getLevel() < -96.0 || gain.getLevel() > 0.0) {
        throw std::out_of_range("PaSink::setGain(): Invalid Gain Level. Valid Range [-96, 0]");
    }
    const Payload payload = Payload()
                                .number(id)
                                .separator(',')
                                .level(gain.getLevel())
                                .separator(',')
                                .flag(persistent)
                                .separator(',')
                                .flag(delayPersistence);
    gQXReceiver.addOperationToSendQueue(destination::directLink, 92, 8, 1, payload.text());
}

Gain PaSink::getGain() {
    if (!hasGain(type)) {
        throwUnsupportedType<std::out_of_range>("getGain: Unsupported Sink Type", type);
    }
    return outputGain;
}

// Operation 92/10: enable,id
void PaSink::setPAMonitoring(bool enable) {
    const Payload payload = Payload().flag(enable).separator(',').number(id);
    gQXReceiver.addOperationToSendQueue(destination::directLink, 92, 10, 1, payload.text());
}

bool PaSink::getPAMonitoring() {
    return monitoringEnabled;
}

// Operation 92/29: id
void PaSink::reset() {
    if (type != ZENTRIQ_KPL2 && type != ZENTRIQ_RMX4) {
        throwUnsupportedType<std::out_of_range>("reset: Unsupported Sink Type", type);
    }
    gQXReceiver.addOperationToSendQueue(destination::directLink, 92, 29, 1,
                                        Payload().number(id).text());
}
