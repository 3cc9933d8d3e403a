// The kinds of records.
#include "tests/controller/recordKinds.h"

#include "client/recordText.h"

namespace {

using Controller = PAController;

template <void (Controller::*Handler)(int, TEVlist*)>
void byKey(Controller& controller, int key, TEVlist* list) {
    (controller.*Handler)(key, list);
}
template <int Number>
void withdraw(Controller& controller, int key) {
    controller.deleteAudioVideoControllerInfo(0, Number, key);
}
template <class Record, std::vector<Record> (Controller::*Getter)() const>
std::string list(Controller& controller) {
    return paclient::linesOf((controller.*Getter)());
}

template <class Record, std::optional<Record> (Controller::*Find)(int) const>
std::string one(const Controller& controller, int key) {
    const std::optional<Record> found = (controller.*Find)(key);
    return found ? paclient::lineOf(*found) : "nothing";
}

/// Sets the notifications of a kind that the application watches by its ids.
/// @param event number of the event of an update; one more is that of a withdrawal
RecordCase watched(RecordCase kind, const std::string& name, const std::string& id,
                   const std::string& label, int event) {
    const std::string which = "*o: " + name + " " + id + " ";
    kind.notified = which + label + "\n";
    kind.event = "*event " + std::to_string(event) + " " + id + "\n";
    kind.unchanged = kind.event;
    kind.deleted = which + "deleted\n*event " + std::to_string(event + 1) + " " + id + "\n";
    kind.keepsId = true;
    return kind;
}

RecordCase source() {
    RecordCase kind{"addUpdatePaSource", byKey<&Controller::addUpdatePaSource>, withdraw<2>,
                    list<PaSource, &Controller::getPaSources>,
                    one<PaSource, &Controller::findPaSource>};
    kind.full =
        fieldsOf(R"(12|"Room \"A\""|"Desk"|"10.1.1.1"|2|s|"in1"|1|s|"lock"|1|-12.5|1|s|s|s|2)");
    kind.cached =
        R"(12|Room "A"|Desk|"10.1.1.1"|ZENTRIQ_IP_PAGING_STATION|"in1"|NOT_ATTACHED|yes|-12.5|)"
        R"(UNICAST_ONLY|FAULTY|0|500)";
    kind.defaults =
        "1|||0.0.0.0|SOURCE_TYPE_NOT_DEFINED||UNKNOWN|yes|-96|MULTICAST_AND_UNICAST|HEALTHY|0|500";
    kind.copied = {1, 2, 3, 4, 6, 7, 11, 16};
    kind.unlogged = 16;
    kind.added = "sourceId >12< added to list. Total available sources >1<";
    kind.updated = "sourceId >12< updated. Total available sources >1<";
    kind.pauses = true;
    return watched(kind, "source", "12", "Desk", 6);
}

RecordCase sink() {
    RecordCase kind{"addUpdatePaSink", byKey<&Controller::addUpdatePaSink>, withdraw<3>,
                    list<PaSink, &Controller::getPaSinks>, one<PaSink, &Controller::findPaSink>};
    kind.full = fieldsOf(
        R"(17|"Hall"|"North"|"10.1.1.2"|1|s|"1,2"|1|s|1|s|-6.5|2|s|s|3|s|4|s|s|s|s|s|s|s|s|)"
        R"("Hall^\"A^B\"^Hall/North"|1|"M1^M2"|s|s|"log \\ text")");
    kind.cached =
        R"(17|0|Hall|North|"10.1.1.2"|HIGH_IMPEDANCE_SPEAKER_BUS|HIGH_IMPEDANCE_SPEAKER_BUS|)"
        R"("1,2"|IDLE|FILE_PLAY|-6.5|PARTIALLY_MUTED|3|yes|0|0|INACTIVE|yes||0|)"
        R"(MULTICAST_AND_UNICAST|Hall, A^B, Hall/North|M1^M2|yes|log \ text)";
    kind.defaults =
        "1|0|||0.0.0.0|SINK_TYPE_NOT_DEFINED|SINK_TYPE_NOT_DEFINED||UNKNOWN|NO_ANNOUNCEMENT|-96|"
        "NOT_MUTED|0|yes|0|0|UNKNOWN_HEALTHSTATE|yes||0|MULTICAST_AND_UNICAST|||yes|";
    kind.copied = {1, 2, 3, 4, 6, 7, 9, 11, 12, 15, 17, 26, 27, 31};
    kind.unlogged = 17;
    kind.added = "sinkId >17< added to list. Total sinks >1<";
    kind.updated = "sinkId >17< updated";
    return watched(kind, "sink", "17", "North", 8);
}

RecordCase trigger() {
    RecordCase kind{"addUpdatePaTrigger", byKey<&Controller::addUpdatePaTrigger>, withdraw<4>,
                    list<PaTrigger, &Controller::getHwPaTriggers>,
                    one<PaTrigger, &Controller::findHwPaTrigger>};
    kind.full = fieldsOf(R"(31|4|"Door"|3|s|"key 1"|700|2|s|8|1)");
    kind.cached = R"(31|4|8|"Door"|KEYPAD_KEY|"key 1"|700|ABSOLUTE_PRIORITY|ACTIVE|no)";
    kind.defaults = "1|0|0||DIN_NORMALLY_OPEN||500|ABSOLUTE_PRIORITY|UNKNOWN|no";
    kind.copied = {1, 2, 3, 5, 6, 7, 9};
    kind.unlogged = 9;
    kind.added = "triggerId >31< added to list. Total HW triggers >1<";
    kind.updated = "triggerId >31< updated";
    return watched(kind, "trigger", "31", "\"Door\"", 10);
}

RecordCase selector() {
    RecordCase kind{"addUpdatePaSelector", byKey<&Controller::addUpdatePaSelector>, withdraw<5>,
                    list<PaSelector, &Controller::getPaSelectors>,
                    one<PaSelector, &Controller::findPaSelector>};
    kind.full = fieldsOf(R"(41|4|3|s|"7"|"Keys"|2|s|1|s|2|s|1)");
    kind.cached =
        R"(41|4|"Keys"|KEYPAD_KEY|"7"|NONVOLATILE_SOFTWARE_CONFIGURABLE|REPLACE_EXISTING_SET|)"
        R"(ADD_REMOVE_SINKS_TO_SET_ALLOWED|ENABLED_AND_INACTIVE|)";
    kind.defaults =
        "1|0||SELECTOR_TYPE_UNDEFINED||FIXED_CONFIGURATION|ADD_TO_EXISTING_SET|UPDATES_NOT_ALLOWED|"
        "DISABLED|";
    kind.copied = {1, 2, 4, 5, 6, 8, 10, 12};
    kind.unlogged = 12;
    kind.added = "selectorId >41< added to list. Total selectors >1<";
    kind.updated = "selectorId >41< updated";
    kind.ignoresMissing = true;
    return watched(kind, "selector", "41", "\"Keys\"", 12);
}

// Its health stays what it was added with, and its event has the key.
RecordCase zone() {
    RecordCase kind{"addUpdatePaZone",
                    [](Controller& controller, int key, TEVlist* list) {
                        controller.addUpdatePaZone(1, key, list);
                    },
                    withdraw<20>, list<PaZone, &Controller::getPaZones>,
                    one<PaZone, &Controller::findPaZone>};
    kind.full = fieldsOf(R"("Platform \"1\""|s|1|"Active"|2|"Dictionary"|3|"Fair")");
    kind.cached = R"(0|Platform "1"|1|"Active"|2|"Dictionary"|3|"Fair")";
    kind.defaults = "0|1|0||0||0|";
    kind.copied = {0, 2, 3, 4, 5};
    kind.unlogged = 4;
    kind.added = "PaZone added to local cache: key >7< PaZone Label >Platform \"1\"<";
    kind.updated = "updated key >7< PaZone Label >Platform \"1\"<";
    kind.notified = "*o: zone Platform \"1\" \"Active\"\n";
    kind.event = "*event 40 7\n";
    kind.deleted = "*o: zone Platform \"1\" deleted\n*event 41 7\n";
    kind.ignoresMissing = true;
    return kind;
}

RecordCase ttsPort() {
    RecordCase kind{"updateFromTTS_Ports", byKey<&Controller::updateFromTTS_Ports>,
                    [](Controller& controller, int key) { controller.deleteFromTTS_Ports(key); },
                    list<TTSVocalizer, &Controller::getTTSVocalizerList>, nullptr};
    kind.full = fieldsOf(R"("en"|"an\"na"|48000|"hello")");
    kind.cached = R"(7|hello|en|an"na|48000|UTF_8)";
    kind.defaults = "2||1||48000|UTF_8";
    kind.copied = {0, 1, 2, 3};
    kind.unlogged = 3;
    kind.added =
        "Added - TTS Dictionary Port >7< Language >en< Voice >an\"na< Rate "
        ">48000<";
    kind.updated =
        "Updated - TTS Dictionary Port >7< Language >en< Voice >an\"na< Rate "
        ">48000<";
    return kind;
}

// Every record is reported: it may answer a preview.
RecordCase ttsDictionary() {
    RecordCase kind{
        "updateFromTTS_Dictionary", byKey<&Controller::updateFromTTS_Dictionary>,
        [](Controller& controller, int key) { controller.deleteFromTTS_Dictionary(key); },
        list<TTSDictionary, &Controller::getTTSDictionaryList>, nullptr};
    kind.full = fieldsOf(R"(4|"u\"1"|"Mind, the gap"|"a\\b.wav"|"96044"|"c0ffee"|"file:///a.wav")");
    kind.cached = R"(7|4|Mind, the gap|a\b.wav|96044|c0ffee|u"1|file:///a.wav)";
    kind.defaults = "2|1||||||";
    kind.copied = {0, 1, 2, 3, 4, 5, 6};
    kind.unlogged = 3;
    kind.added = "TTS Dictionary Item >7< UUID >u\"1< added. Text >Mind, the gap<";
    kind.updated =
        "TTS Dictionary Item >7< UUID >u\"1< updated. Text >Mind, the "
        "gap<";
    kind.notified = "*o: audio u\"1 rendered 0 file:///a.wav\n";
    kind.unchanged = kind.notified;
    return kind;
}

RecordCase announcement() {
    RecordCase kind{"addUpdateAnnouncementRequest",
                    byKey<&Controller::addUpdateAnnouncementRequest>, withdraw<11>,
                    list<AnnouncementRequest, &Controller::getAnnouncementRequests>,
                    one<AnnouncementRequest, &Controller::findAnnouncementRequest>};
    kind.full = fieldsOf(
        R"("request-1"|s|s|s|s|"Playing"|"today"|s|s|)"
        R"("2,10.0.0.5,\"\\\"Hall, A\\\"^B\",12^40!1,,0^0^0"|s|s|s|s|s|s|"high"|s|"0"|"d\"1")");
    kind.cached =
        R"(7|request-1|DICTIONARY|NONE|"Playing"|"today"|2,10.0.0.5,"\"Hall, A\"^B",12^40!1,,0^0^0|)"
        R"("high"|Hall, A, B|"0"|d"1)";
    kind.defaults = "2|1|NONE|NONE|||||||";
    kind.copied = {0, 5, 6, 9, 16, 18, 19};
    kind.unlogged = 16;
    kind.notified = "*o: message request-1 \"Playing\"\n";
    kind.unchanged = kind.notified;
    kind.deleted = "*o: message request-1 deleted\n";
    return kind;
}

// Every record is an update. A part that is only a 0 cannot be read, and nothing is copied.
RecordCase schedule() {
    RecordCase kind{"updateScheduleList", byKey<&Controller::updateScheduleList>, withdraw<18>,
                    list<ScheduleDefinition, &Controller::listSchedules>,
                    one<ScheduleDefinition, &Controller::findSchedule>};
    kind.full =
        fieldsOf("uuid~Morning|2024:3:4|6:7|2030:6:5|23:59|127|15|1|-20|2,o,Z1^Z2,12!3,-6.5,ding");
    kind.cached =
        "7|Morning|2024|3|4|6|7|2030|6|5|23|59|127|15|Z1, Z2|APM_RELATIVE_PRIORITY|-20|AT_TEV|"
        "AT_NONE|12|3||0||||0|-6.5|ding";
    kind.defaults =
        "2|1|0|0|0|0|0|0|0|0|0|0|0|0||APM_ABSOLUTE_PRIORITY|500|AT_NONE|AT_NONE||1||0||||0|0|";
    kind.copied = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    kind.unlogged = 6;
    kind.added = "scheduleId >7< added to list. Total schedules >1<";
    kind.updated = "scheduleId=7 updated<";
    kind.notified = "*o: schedule 7 Morning\n";
    kind.event = "*event 38 7\n";
    kind.unchanged = kind.notified + kind.event;
    kind.alwaysLogs = true;
    kind.deleted = "*o: schedule 7 Morning deleted\n*event 39 7\n";
    kind.pauses = true;
    kind.byArrival = true;
    return kind;
}

}  // namespace

std::vector<RecordCase> everyKind() {
    return {source(),  sink(),          trigger(),      selector(), zone(),
            ttsPort(), ttsDictionary(), announcement(), schedule()};
}

std::vector<RecordCase> ownedKinds() {
    return {source(), trigger()};
}
