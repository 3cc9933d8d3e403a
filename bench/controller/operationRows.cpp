// SPDX-License-Identifier: Apache-2.0
#include "bench/controller/operationRows.h"

#include <algorithm>
#include <iterator>

#include "sdk/PAController.h"

namespace bench {

namespace {

PlainText& appendZones(PlainText& text, const Requester& from, int depth) {
    return text.list(from.zones, '^', [&](const std::string& id) { text.quoted(id, depth); });
}

PlainText& appendItems(PlainText& text, const Requester& from) {
    text.list(from.items, '^', [&](unsigned item) { text.number(item); });
    return text.plain("!").number(from.plain.repeats);
}

void encodeZones(PlainText& text, const Requester& from) {
    text.number(freeSource).plain(",");
    appendZones(text, from, 0);
}

/// @param appendContent called with the text
template <class Append>
void encodePlay(PlainText& text, const Requester& from, int type, Append appendContent) {
    const PlainMessage& message = from.plain;
    text.quoted(message.requestId, 0).plain(",").number(message.mode).plain(",");
    text.number(message.level).plain(",").quote(0).number(type).plain(",").plain(origin).plain(",");
    appendZones(text, from, 1).plain(",");
    appendContent(text);
    text.plain(",").decimal(message.gain).plain(",").number(message.preChime).plain("^");
    text.number(message.postChime).plain("^0").quote(0);
}

void encodePlayOfItems(PlainText& text, const Requester& from) {
    encodePlay(text, from, Message::DICTIONARY, [&](PlainText& to) { appendItems(to, from); });
}

void encodePlayOfText(PlainText& text, const Requester& from) {
    encodePlay(text, from, Message::TTS, [](PlainText& to) {
        to.quote(1).plain(language).plain("^").plain(voice).plain("^").number(48'000).plain("^");
        to.quoted(spokenText, 2).quote(1);
    });
}

void encodePlayOfDisplay(PlainText& text, const Requester& from) {
    encodePlay(text, from, Message::DISPLAY_TEMPLATE, [&from](PlainText& to) {
        const auto variable = [&to](const char* key, const char* value, int timeout) {
            to.plain(" ").quoted(key, 2).plain(" : { ").quoted("type", 2).plain(" : ");
            to.quoted("literal", 2).plain(", ").quoted("values", 2).plain(" : [ { ");
            to.quoted("text", 2).plain(" : ").quoted(value, 2).plain(", ").quoted("timeout", 2);
            to.plain(" : ").number(timeout).plain("} ] }");
        };
        to.quote(1).plain("{ ").quoted("kvPairs", 2).plain(" : {");
        variable("LINE", "Linz", 5);
        to.plain(",");
        variable("{SCREEN}", screen, 0);
        to.plain(" }, ")
            .quoted("validity", 2)
            .plain(" : ")
            .number(from.plain.validity)
            .plain(" }")
            .quote(1);
    });
}

void encodeSchedule(PlainText& text, const Requester& from) {
    const ScheduleDefinition& def = from.schedule;
    text.number(def.Id).plain(",").quote(0).plain(from.scheduleUUID).plain("~");
    text.quoted(scheduleText, 1).quote(0).plain(",");
    for (const int value :
         {def.startYear, def.startMonth, def.startDay, def.startHour, def.startMinute, def.endYear,
          def.endMonth, def.endDay, def.endHour, def.endMinute, def.dayMask, def.frequency}) {
        text.number(value).plain(",");
    }
    text.plain("1,").quoted("", 0).plain(",0,500,").quote(0);
    text.number(AT_TEV).plain(",").plain(origin).plain(",");
    appendZones(text, from, 1).plain(",");
    appendItems(text, from).plain(",,").quote(0);
}

void encodeGain(PlainText& text, int id, double level) {
    text.number(id).plain(",").decimal(level).plain(",1,0");
}

void encodeLock(PlainText& text, const Requester& from, int source) {
    text.number(source).plain(",").plain(from.uuid);
}

}  // namespace

namespace operations = pa::operations;

// A cast to void leaves a result out: without a server there is none.
const std::vector<OperationRow> operationRows = {
    {"play dictionary items", operations::playMessage,
     [](Requester& from, Message& message) { message.playAnnouncement(from.zones); },
     encodePlayOfItems, &Requester::dictionary, 1.6},
    {"play a spoken text", operations::playMessage,
     [](Requester& from, Message& message) { message.playAnnouncement(from.zones); },
     encodePlayOfText, &Requester::spoken},
    {"play a display template", operations::playMessage,
     [](Requester& from, Message& message) { message.playAnnouncement(from.zones); },
     encodePlayOfDisplay, &Requester::display},
    {"cancel by request", operations::cancelMessage,
     [](Requester& from, Message&) { gPaController.cancelMessage(from.plain.requestId); },
     [](PlainText& text, const Requester& from) { text.quoted(from.plain.requestId, 0); }},
    {"cancel by type", operations::cancelMessage,
     [](Requester&, Message&) { gPaController.cancelMessage(Message::TTS); },
     [](PlainText& text, const Requester&) { text.quoted("", 0).plain(",").number(Message::TTS); }},
    {"retrieve a spoken text", operations::retrieveAudio,
     [](Requester&, Message& message) { message.retrieveAudioMessage(); },
     [](PlainText& text, const Requester& from) {
         text.plain(from.plain.requestId)
             .plain(",")
             .plain(language)
             .plain(",")
             .plain(voice)
             .plain(",");
         text.number(48'000).plain(",").quoted(spokenText, 0);
     },
     &Requester::spoken},
    {"put a schedule, with a new UUID", operations::putSchedule,
     [](Requester& from, Message&) { gPaController.createSchedule(from.schedule); },
     encodeSchedule},
    {"delete a schedule", operations::deleteSchedule,
     [](Requester&, Message&) { gPaController.deleteSchedule(1); },
     [](PlainText& text, const Requester&) { text.number(1); }},
    {"attach a source", operations::attachSource,
     [](Requester&, Message&) { static_cast<void>(gPaController.attachPaSource(freeSource)); },
     [](PlainText& text, const Requester& from) { encodeLock(text, from, freeSource); }},
    {"detach a source", operations::detachSource,
     [](Requester&, Message&) { gPaController.detachPaSource(ownSource); },
     [](PlainText& text, const Requester& from) { encodeLock(text, from, ownSource); }},
    {"renew a lock", operations::renewLock,
     [](Requester&, Message&) { gPaController.renewSourceLocksNow(); },
     [](PlainText& text, const Requester& from) { encodeLock(text, from, ownSource); }},
    {"attach zones", operations::attachZones,
     [](Requester& from, Message&) {
         from.source.attachPaZone(from.zones, PaSource::ADD_TO_EXISTING_SET);
     },
     encodeZones},
    {"detach zones", operations::detachZones,
     [](Requester& from, Message&) { from.source.detachPaZone(from.zones); }, encodeZones},
    {"detach all zones", operations::detachZones,
     [](Requester& from, Message&) { from.source.detachAllPaZones(); },
     [](PlainText& text, const Requester&) { text.number(freeSource); }},
    {"set the gain of a source", operations::setSourceGain,
     [](Requester& from, Message&) { from.source.setGain(from.plain.gain, true, false); },
     [](PlainText& text, const Requester& from) { encodeGain(text, freeSource, from.plain.gain); }},
    {"set the gain of a sink", operations::setSinkGain,
     [](Requester& from, Message&) { from.sink.setGain(Gain(from.plain.gain), true, false); },
     [](PlainText& text, const Requester& from) {
         encodeGain(text, from.sink.id, from.plain.gain);
     }},
    {"set the monitoring of a sink", operations::setMonitoring,
     [](Requester& from, Message&) { from.sink.setPAMonitoring(true); },
     [](PlainText& text, const Requester& from) { text.plain("1,").number(from.sink.id); }},
    {"reset a sink", operations::resetSink, [](Requester& from, Message&) { from.unit.reset(); },
     [](PlainText& text, const Requester& from) { text.number(from.unit.id); }},
    {"activate a trigger", operations::activateTrigger,
     [](Requester& from, Message&) { gPaController.activateSwPaTrigger(from.trigger); },
     [](PlainText& text, const Requester&) {
         text.number(freeSource).plain(",").number(50).plain(",").plain("3").plain(",Staff call");
     }},
    {"deactivate a trigger", operations::deactivateTrigger,
     [](Requester& from, Message&) { gPaController.deactivateSwPaTrigger(from.trigger); },
     [](PlainText& text, const Requester&) { text.number(freeSource); }},
    {"start a recording", operations::startRecording,
     [](Requester&, Message&) { gPaController.startUserRecording(recordingPath); },
     [](PlainText& text, const Requester&) { text.plain(recordingPath); }},
    {"stop the recording", operations::stopRecording,
     [](Requester&, Message&) { gPaController.stopUserRecording(); },
     [](PlainText&, const Requester&) {}},
    {"preview a recording", operations::previewRecording,
     [](Requester&, Message&) { gPaController.previewUserRecording(recordingPath); },
     [](PlainText& text, const Requester&) { text.quoted(recordingPath, 0); }},
    {"delete a recording", operations::deleteRecording,
     [](Requester&, Message&) { gPaController.deleteUserRecording(recordingPath); },
     [](PlainText& text, const Requester&) { text.quoted(recordingPath, 0); }},
};

}  // namespace bench
