// What an operation costs, from the call until it is queued, beside the same text that is appended
// to one reserved string and pushed under a mutex.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "bench/controller/PlainText.h"
#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "framework/clock.h"
#include "framework/log.h"
#include "sdk/AudioServer.h"
#include "sdk/QXReceiver.h"
#include "sdk/globals.h"

namespace bench {

namespace {

/// Takes what waits in the send queue, and counts the operations of one type: the controller's
/// worker renews locks by itself.
class QueueReader final : public pa::OperationSender {
public:
    bool sendOperation(const pa::Operation& operation) override {
        const std::lock_guard guard(lock_);
        if (operation.type == type_) {
            last_ = operation.payload;
            ++count_;
            changed_.notify_all();
        }
        return true;
    }

    /// Waits until so many operations of the type have come.
    /// @return the payload of the last one
    std::string take(pa::OperationType type, int operations) {
        {
            const std::lock_guard guard(lock_);
            type_ = type;
            count_ = 0;
        }
        gQXReceiver.connect(*this);
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return count_ >= operations; });
        guard.unlock();
        gQXReceiver.pause();
        return last_;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    pa::OperationType type_;
    int count_ = 0;
    std::string last_;
};

class PlainQueue {
public:
    void push(std::string text) {
        const std::lock_guard guard(lock_);
        waiting_.push_back({{-2, {92, 17}, 1, std::move(text)}, 0});
    }
    void clear() { waiting_.clear(); }

private:
    struct Waiting {
        pa::Operation operation;
        std::int64_t since;
    };

    std::mutex lock_;
    std::deque<Waiting> waiting_;
};

constexpr char origin[] = "10.20.1.5";
constexpr char requestId[] = "3f2b8c1e-5d47-4a90-9c1b-000000000001";
constexpr char scheduleText[] = "Early trains";
constexpr char spokenText[] = "The train to \"Linz\" leaves at 10:25";
constexpr char language[] = "en-GB";
constexpr char voice[] = "Emma";
constexpr char screen[] = "Departures";
constexpr char recordingPath[] = "/recordings/desk 1/notice.wav";
constexpr double gain = -3.5;
constexpr int freeSource = 1;
constexpr int ownSource = 2;  // this client holds its lock

/// What the messages hold.
struct PlainMessage {
    std::string requestId = bench::requestId;
    int mode = 0;
    int level = 500;
    int repeats = 1;
    int preChime = 0;
    int postChime = 0;
    double gain = bench::gain;
    int validity = 30;
};

/// What the operations are requested of, and what the references write.
struct Requester {
    std::string uuid;  // of this client
    PaSource source;
    PaSink sink;
    PaSink unit;  // one that can be reset
    std::vector<std::string> zones{"Platform 1/North", "Platform 1/South", "Concourse/Ticket Hall"};
    std::vector<unsigned> items{12, 40, 7};
    ScheduleDefinition schedule;
    std::string scheduleUUID;  // of the request at hand
    int trigger = 0;
    PlainMessage plain;
    Message dictionary;
    Message spoken;
    Message display;
};

void addKnown(PAController::MergeResult (PAController::*merge)(int, TEVlist*), int key,
              pa::RecordFields fields) {
    pa::RecordList list(std::move(fields));
    if ((gPaController.*merge)(key, list.list()) == PAController::MergeResult::Dropped) {
        throw std::runtime_error("a record was dropped");
    }
}

/// Puts the controller into a state in which every operation is sent.
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
        message->setRequestID(requestId);
        message->setGain(gain);
    }
    from.dictionary.setAudioMessage(from.items);
    from.spoken.setAudioMessage(spokenText, language, voice, Message::UTF_8);
    from.display.setVisualMessage(screen, {{"LINE", {{"Linz", 5}}}}, 30);
    return from;
}

// ------------------------------------------------------------------------------- references

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

void encodeGain(PlainText& text, int id) {
    text.number(id).plain(",").decimal(gain).plain(",1,0");
}

void encodeLock(PlainText& text, const Requester& from, int source) {
    text.number(source).plain(",").plain(from.uuid);
}

struct OperationRow {
    const char* name;
    pa::OperationType type;
    void (*request)(Requester& from, Message& message);
    void (*encode)(PlainText& text, const Requester& from);
    Message Requester::*message = nullptr;  // what is played
    double wantedRatio = 0;
};

namespace operations = pa::operations;

// A cast to void leaves a result out: without a server there is none.
const OperationRow operationRows[] = {
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
     [](Requester&, Message&) { gPaController.cancelMessage(std::string(requestId)); },
     [](PlainText& text, const Requester&) { text.quoted(requestId, 0); }},
    {"cancel by type", operations::cancelMessage,
     [](Requester&, Message&) { gPaController.cancelMessage(Message::TTS); },
     [](PlainText& text, const Requester&) { text.quoted("", 0).plain(",").number(Message::TTS); }},
    {"retrieve a spoken text", operations::retrieveAudio,
     [](Requester&, Message& message) { message.retrieveAudioMessage(); },
     [](PlainText& text, const Requester&) {
         text.plain(requestId).plain(",").plain(language).plain(",").plain(voice).plain(",");
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
     [](Requester& from, Message&) { from.source.setGain(gain, true, false); },
     [](PlainText& text, const Requester&) { encodeGain(text, freeSource); }},
    {"set the gain of a sink", operations::setSinkGain,
     [](Requester& from, Message&) { from.sink.setGain(Gain(gain), true, false); },
     [](PlainText& text, const Requester& from) { encodeGain(text, from.sink.id); }},
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

constexpr int perRound = 1000;

QueueReader& queueReader() {
    static QueueReader reader;
    return reader;
}

/// Compares two ways to queue operations.
ResultRow queueRow(const RunSettings& settings, const std::string& what, pa::OperationType type,
                   const std::function<void()>& prepare, const std::function<void()>& queue,
                   PlainQueue& plain, const std::function<void()>& queuePlain, double wanted) {
    const int count = settings.size(perRound);
    int queued = 0;
    const auto drain = [&] {
        if (queued > 0) {
            queueReader().take(type, std::exchange(queued, 0));
        }
        plain.clear();
    };
    Contender controller{[&] {
        queue();
        queued = count;
    }};
    Contender reference{queuePlain, {}};
    TurnPlan plan;
    plan.roundsPerTrial = 5;
    plan.itemsPerRound = count;
    plan.prepare = prepare;
    plan.tidy = drain;
    compareInTurns(settings, plan, {&controller, &reference});
    return rowOf(what, controller, reference, wanted);
}

std::vector<ResultRow> encodings(const RunSettings& settings) {
    Requester from = makeRequester();
    const std::size_t count = static_cast<std::size_t>(settings.size(perRound));
    std::vector<ResultRow> rows;
    for (const OperationRow& row : operationRows) {
        const Message message = row.message != nullptr ? from.*row.message : Message();
        Message first = message;
        row.request(from, first);
        const std::string payload = queueReader().take(row.type, 1);
        constexpr std::size_t uuidAt = 3;  // 1,"UUID~
        from.scheduleUUID = payload.substr(std::min(uuidAt, payload.size()), from.uuid.size());
        const auto encode = [&] {
            PlainText text(payload.size());
            row.encode(text, from);
            return text.result();
        };
        if (encode() != payload) {
            throw std::runtime_error(std::string(row.name) + ": >" + payload +
                                     "<, the reference >" + encode() + '<');
        }
        PlainQueue plain;
        std::vector<Message> messages;
        rows.push_back(queueRow(
            settings, std::string(row.name) + ", " + std::to_string(payload.size()) + " B",
            row.type, [&] { messages.assign(count, message); },
            [&] {
                for (Message& each : messages) {
                    row.request(from, each);
                }
            },
            plain,
            [&] {
                for (std::size_t i = 0; i < count; ++i) {
                    plain.push(encode());
                }
            },
            row.wantedRatio));
    }
    return rows;
}

std::vector<ResultRow> linkDown(const RunSettings& settings) {
    makeRequester();
    constexpr pa::OperationType type = operations::playMessage;
    const std::string payload(156, 'x');
    PlainQueue plain;
    const int count = settings.size(perRound);
    return {queueRow(
        settings, "one operation of 156 B queued, link down", type, [] {},
        [&] {
            for (int i = 0; i < count; ++i) {
                gQXReceiver.addOperationToSendQueue(-2, type.classNo, type.number, 1, payload);
            }
        },
        plain,
        [&] {
            for (int i = 0; i < count; ++i) {
                plain.push(payload);
            }
        },
        0)};
}

}  // namespace

BenchCases operationCases() {
    return {{"encode", encodings}, {"queue", linkDown}};
}

}  // namespace bench
