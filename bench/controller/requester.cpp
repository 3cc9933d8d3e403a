// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>
#include <utility>

#include "bench/controller/kinds.h"
#include "bench/controller/operationRows.h"
#include "framework/clock.h"
#include "framework/log.h"
#include "include/common/RecordList.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace bench {

namespace {

void addKnown(PAController::MergeResult (PAController::*merge)(int, TEVlist*), int key,
              pa::RecordFields fields) {
    pa::RecordList list(std::move(fields));
    if ((gPaController.*merge)(key, list.list()) == PAController::MergeResult::Dropped) {
        throw std::runtime_error("a record was dropped");
    }
}

}  // namespace

Requester makeRequester() {
    pa::setLogSink([](const pa::LogLine&) {});
    pa::TimeSource time;  // nothing becomes too old
    time.monotonicMS = [] { return std::int64_t{0}; };
    pa::setTimeSource(time);
    gDeviceIPAddress = origin;
    auto& audioServer = *new AudioServer(gPaController);  // never destroyed
    pa::store(gAudioServerInstance, &audioServer);
    pa::store(gLocalDstNo, 1);
    pa::store(gMaxServerWaitTimeSeconds, 0);

    Requester from;
    from.uuid = audioServer.getUUID();
    addKnown(&PAController::mergePaSource, freeSource, SourceKind::fields(freeSource, 0));
    addKnown(&PAController::mergePaSource, ownSource,
             SourceKind::fieldsOfLocked(ownSource, from.uuid));
    addKnown(&PAController::mergeSchedule, 1, ScheduleKind::fields(1, 0));
    pa::RecordList port(TtsPortKind::fields(1, 0));
    gPaController.updateFromTTS_Ports(1, port.list());
    from.source = gPaController.findPaSource(freeSource).value();
    from.sink.id = 17;
    from.sink.type = PaSink::HIGH_IMPEDANCE_SPEAKER_BUS;
    from.unit.id = 18;
    from.unit.type = PaSink::ZENTRIQ_KPL2;
    from.schedule.Id = 1;
    from.schedule.descrption = scheduleText;
    from.schedule.startYear = from.schedule.endYear = 2026;
    from.schedule.startMonth = from.schedule.endMonth = 12;
    from.schedule.startDay = 1;
    from.schedule.endDay = 31;
    from.schedule.endHour = 23;
    from.schedule.dayMask = 127;
    from.schedule.paZones = from.zones;
    from.schedule.announcementType = AT_TEV;
    from.schedule.dictionaryItems = from.items;
    from.trigger = gPaController.createSwPaTrigger(freeSource, 50, "3", "Staff call");
    for (Message* const message : {&from.dictionary, &from.spoken, &from.display}) {
        message->setRequestID(from.plain.requestId);
        message->setGain(from.plain.gain);
    }
    from.dictionary.setAudioMessage(from.items);
    from.spoken.setAudioMessage(spokenText, language, voice, Message::UTF_8);
    from.display.setVisualMessage(screen, {{"LINE", {{"Linz", 5}}}}, 30);
    return from;
}

}  // namespace bench
