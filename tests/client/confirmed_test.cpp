#include "client/confirmed.h"

#include <atomic>
#include <functional>
#include <optional>
#include <set>
#include <stdexcept>

#include "client/Preview.h"
#include "client/confirmedOperations.h"
#include "tests/client/changes.h"
#include "tests/client/serverFixture.h"

namespace {

using namespace std::chrono_literals;
using namespace paclient;
using State = Confirmation::State;
using Connected = palink::ConnectionChange::State;
using Names = std::vector<std::string>;

/// A clock that advances by 1 ms with every look at it.
std::int64_t lookAtClock() {
    static std::atomic<std::int64_t> now{0};
    return ++now;
}

TEST(Confirm, EndsWithTheFirstAnswer) {
    using namespace pa::operations;
    pa::setTimeSource({nullptr, lookAtClock, nullptr});
    struct Case {
        std::string requestId;
        std::vector<Change> changes;
        int looksUntilEffect;  // 0: it is there before, -1: it never is
        State state;
        std::string reason;
    };
    const Case cases[] = {
        {"", {}, 0, State::AsBefore, ""},
        {"", {}, 1, State::Done, ""},
        {"", {}, 3, State::Done, ""},
        {"", {}, -1, State::TimedOut, ""},
        {"", {refusal(resetSink, "")}, -1, State::Refused, "not now"},
        {"", {refusal(setSinkGain, "")}, 2, State::Done, ""},
        {"", {refusal(resetSink, "other")}, -1, State::Refused, "not now"},
        {"own", {refusal(resetSink, "own")}, -1, State::Refused, "not now"},
        {"own", {refusal(resetSink, "")}, -1, State::Refused, "not now"},
        {"own", {refusal(resetSink, "other")}, -1, State::TimedOut, ""},
        {"", {drop(resetSink, "")}, -1, State::NotSent, "the link was stopped"},
        {"", {drop(setSinkGain, "")}, -1, State::TimedOut, ""},
        {"own", {drop(resetSink, "other")}, -1, State::TimedOut, ""},
        {"", {linkChange(Connected::Disconnected)}, -1, State::ConnectionLost, "cable"},
        {"", {linkChange(Connected::Disconnected)}, 1, State::ConnectionLost, "cable"},
        {"",
         {linkChange(Connected::Disconnected), linkChange(Connected::Connected)},
         1,  // the caches are empty
         State::ConnectionLost,
         "cable"},
        {"", {refusal(resetSink, "")}, 1, State::Done, ""},
        {"", {drop(resetSink, "")}, 1, State::Done, ""},
        {"",
         {linkChange(Connected::Disconnected), linkChange(Connected::Synced)},
         1,
         State::Done,
         ""},
        {"",
         {linkChange(Connected::Disconnected), linkChange(Connected::Synced),
          refusal(resetSink, "")},
         -1,
         State::ConnectionLost,
         "cable"},
        {"", {linkChange(Connected::Stopped)}, -1, State::ConnectionLost, ""},
        {"",
         {linkChange(Connected::Synced), refusal(resetSink, "")},
         -1,
         State::Refused,
         "not now"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        int looks = c.looksUntilEffect;
        std::size_t seen = 0;
        ConfirmedRequest request;
        request.operations = {resetSink};
        request.requestId = c.requestId;
        request.send = [&] {
            for (const Change& change : c.changes) {
                ChangeStream::instance().publish(change);
            }
        };
        request.holds = [&] { return looks-- == 0; };
        request.take = [&](const Change& /*change*/) { ++seen; };
        const Confirmation result = confirm(request, {20ms, {}, 1ms});
        EXPECT_EQ(static_cast<int>(result.state), static_cast<int>(c.state));
        EXPECT_EQ(result.reason, c.reason);
        EXPECT_EQ(seen, c.state == State::AsBefore ? 0 : c.changes.size());
        ChangeStream::instance().publish(linkChange(Connected::Stopped));
    }
    pa::setTimeSource({});
}

/// The caches are emptied between the loss and the next synchronisation.
TEST(Confirm, TakesNoEmptiedCacheForAnEffect) {
    pa::setTimeSource({nullptr, lookAtClock, nullptr});
    ChangeStream& stream = ChangeStream::instance();
    bool isEntryThere = true;
    ConfirmedRequest request;
    request.send = [] {};
    request.holds = [&] {
        if (isEntryThere) {  // the loss follows the look at the changes
            stream.publish(linkChange(Connected::Disconnected));
            isEntryThere = false;
        }
        return !isEntryThere;
    };
    EXPECT_EQ(confirm(request, {20ms, {}, 1ms}).state, State::ConnectionLost);
    EXPECT_EQ(confirm(request, {20ms, {}, 1ms}).state, State::ConnectionLost) << "still away";
    request.send = [&] { stream.publish(linkChange(Connected::Synced)); };
    EXPECT_EQ(confirm(request, {20ms, {}, 1ms}).state, State::Done) << "away when it began";
    EXPECT_EQ(confirm(request, {20ms, {}, 1ms}).state, State::AsBefore);
    pa::setTimeSource({});
}

TEST(Confirm, IsLeftByAnException) {
    ConfirmedRequest request;
    request.send = [] {};
    request.holds = [] { return false; };
    const auto leave = [](std::chrono::milliseconds) { throw std::runtime_error("left"); };
    EXPECT_THROW(confirm(request, {noLimit, leave}), std::runtime_error);
    EXPECT_EQ(awaitRefusal(request, {0ms}).state, State::TimedOut);
}

// ------------------------------------------------------------------------- with a simulated server

simserver::Source sourceOf(int id, int type, Names zones = {}) {
    simserver::Source source;
    source.id = id;
    source.type = type;
    source.attachedZones = std::move(zones);
    return source;
}

simserver::Sink sinkOf(int id, int type) {
    simserver::Sink sink;
    sink.id = id;
    sink.type = type;
    return sink;
}

simserver::Station station() {
    simserver::Station station;
    station.name = "Test";
    station.zones = {{"Hall", 1}, {"Yard", 1}};
    station.sinks = {sinkOf(1, 1), sinkOf(8, 8), sinkOf(9, 9)};
    station.voices.push_back({4, "en", "anna", 48000, "", ""});
    station.sources = {sourceOf(1, 1), sourceOf(2, 2, {"Yard"}), sourceOf(3, 4)};
    return station;
}

struct OperationsTest : ClientTest {
    OperationsTest() : ClientTest(station()) {}
    ~OperationsTest() override {
        for (const PaSWTrigger& trigger : gPaController.getSwPaTriggers()) {
            gPaController.deleteSwPaTrigger(trigger.trigger.id);
        }
    }

    static PaSink sink(int id) { return gPaController.findPaSink(id).value(); }
    static PaSource source(int id) { return gPaController.findPaSource(id).value(); }
    static PaSWTrigger trigger(int sourceId) {
        const int id = gPaController.createSwPaTrigger(sourceId, 50);
        EXPECT_NE(id, 0);
        return gPaController.getSwPaTriggers().back();
    }
};

TEST_F(OperationsTest, ReportWhatTheServerHasConfirmed) {
    const Wait wait;
    const std::string path = "/home/quillon/tmp/a.wav";
    const PaSWTrigger yardTrigger = trigger(2);
    std::optional<int> started;
    const auto replace = PaSource::REPLACE_EXISTING_SET;
    const auto pass = [&](std::chrono::milliseconds) { server.advance(3s); };
    const auto add = PaSource::ADD_TO_EXISTING_SET;
    struct Step {
        const char* name;
        std::function<Confirmation()> run;
        State state;
    };
    const Step steps[] = {
        {"sink gain", [&] { return setGain(sink(1), -20.12345678, false, false, wait); },
         State::Done},
        {"same", [&] { return setGain(sink(1), -20.1235, false, false, wait); }, State::AsBefore},
        {"flagged", [&] { return setGain(sink(1), -20.1235, true, false, {5ms}); }, State::Done},
        {"no sign", [&] { return setGain(sink(1), -0.0, false, false, wait); }, State::Done},
        {"source gain", [&] { return setGain(source(1), 42, false, false, wait); }, State::Done},
        {"monitoring", [&] { return setMonitoring(sink(1), true, wait); }, State::Done},
        {"monitored", [&] { return setMonitoring(sink(1), true, wait); }, State::AsBefore},
        {"reset", [&] { return reset(sink(9), false, wait); }, State::Done},
        {"until back",
         [&] {
             return reset(sink(9), true, {10s, pass});
         },
         State::Done},
        {"attach", [&] { return attachZones(source(1), {"Hall"}, add, wait); }, State::Done},
        {"more",
         [&] {
             return attachZones(source(1), {"Yard", "Hall"}, add, wait);
         },
         State::Done},
        {"all there", [&] { return attachZones(source(1), {"Hall"}, add, wait); }, State::AsBefore},
        {"replace", [&] { return attachZones(source(1), {"Hall"}, replace, wait); }, State::Done},
        {"not there", [&] { return detachZones(source(1), {"Yard"}, wait); }, State::AsBefore},
        {"detach", [&] { return detachZones(source(1), {"Hall"}, wait); }, State::Done},
        {"none there", [&] { return detachAllZones(source(1), wait); }, State::AsBefore},
        {"take", [&] { return takeLock(1, wait); }, State::Done},
        {"taken", [&] { return takeLock(1, wait); }, State::AsBefore},
        {"release", [&] { return releaseLock(1, wait); }, State::Done},
        {"not held", [&] { return releaseLock(1, wait); }, State::Refused},
        {"activate",
         [&] {
             const Activation activation = activate(yardTrigger, wait);
             started = activation.announcement->id;
             EXPECT_EQ(activation.announcement->zones, Names{"Yard"});
             return activation.confirmation;
         },
         State::Done},
        {"deactivate", [&] { return deactivate(yardTrigger, started, wait); }, State::Done},
        {"inactive", [&] { return deactivate(yardTrigger, started, wait); }, State::Refused},
        {"record", [&] { return startRecording(path, wait); }, State::Done},
        {"once more", [&] { return startRecording(path, wait); }, State::Refused},
        {"elsewhere", [&] { return startRecording("/etc/passwd", wait); }, State::Refused},
        {"stop",
         [&] {
             const StoppedRecording stopped = stopRecording(wait);
             EXPECT_EQ(stopped.path, path);
             return stopped.confirmation;
         },
         State::Done},
        {"stopped", [&] { return stopRecording(wait).confirmation; }, State::Refused},
        {"delete", [&] { return deleteRecording("/home/quillon/tmp/x.wav", wait); },
         State::Refused},
        {"play", [&] { return previewRecording("/home/quillon/tmp/x.wav", wait); }, State::Refused},
    };
    for (const Step& step : steps) {
        const Confirmation result = step.run();
        EXPECT_EQ(static_cast<int>(result.state), static_cast<int>(step.state)) << step.name;
        EXPECT_EQ(result.reason.empty(), step.state != State::Refused) << step.name;
    }
}

TEST_F(OperationsTest, RefuseWhatCannotBe) {
    EXPECT_THROW((void)setGain(sink(8), 0, false, false, {}), std::invalid_argument);
    EXPECT_THROW((void)setGain(source(3), 0, false, false, {}), std::invalid_argument);
    EXPECT_THROW((void)setGain(source(1), 42.5, false, false, {}), std::out_of_range);
    EXPECT_THROW((void)reset(sink(1), false, {}), std::invalid_argument);
    server.operateAsOther({-1, pa::operations::attachSource, 1, "1,other"});
    connection.waitUntilDelivered();
    EXPECT_EQ(takeLock(1, {}).reason, "another client holds its lock (other)");
    EXPECT_EQ(releaseLock(1, {}).state, State::Refused);
}

TEST_F(OperationsTest, AreOpenWhenNothingIsReported) {
    server.ignoreRequests(true);
    EXPECT_EQ(setMonitoring(sink(1), true, {0ms}).state, State::TimedOut);
    EXPECT_EQ(reset(sink(9), true, {0ms}).state, State::TimedOut);
    EXPECT_EQ(startRecording("/home/quillon/tmp/a.wav", {0ms}).state, State::TimedOut);
    EXPECT_EQ(stopRecording({0ms}).confirmation.state, State::TimedOut);
    EXPECT_EQ(activate(trigger(1), {0ms}).confirmation.state, State::TimedOut);
}

// ------------------------------------------------------------------------------------- previews

/// The answer to a preview, published when it is asked for.
class PreviewAnswer {
public:
    explicit PreviewAnswer(std::function<std::optional<Change>(const std::string& id)> answer)
        : listener_(kinds<SentOperation>(), [answer](const ChangePtr& change) {
              const pa::Operation& sent = std::get<SentOperation>(*change).operation;
              const auto reply = answer(sent.payload.substr(0, sent.payload.find(',')));
              if (sent.type == pa::operations::retrieveAudio && reply) {
                  ChangeStream::instance().publish(*reply);
              }
          }) {}

private:
    Listener listener_;
};

TEST_F(OperationsTest, PreviewsEndWithTheirAnswer) {
    const auto timedOut = PAControllerObserver::MRE_TIMED_OUT;
    const auto failed = PAControllerObserver::MRE_INVALID_PARAMS;
    struct Case {
        std::function<std::optional<Change>(const std::string& id)> answer;
        State state;
        std::string uri;
    };
    const Case cases[] = {
        {[](const std::string& id) {
             return Retrieval{id, true, {}, "file:/a"};
         },
         State::Done, "file:/a"},
        {[=](const std::string& id) {
             return Retrieval{id, false, failed, ""};
         },
         State::Refused, ""},
        {[=](const std::string& id) {
             return Retrieval{id, false, timedOut, ""};
         },
         State::TimedOut, ""},
        {[](const std::string& id) { return refusal(pa::operations::retrieveAudio, id); },
         State::Refused, ""},
        {[](const std::string&) { return refusal(pa::operations::retrieveAudio, "other"); },
         State::TimedOut, ""},
        {[](const std::string&) {
             return Retrieval{"other", true, {}, "file:/b"};
         },
         State::TimedOut, ""},
    };
    server.ignoreRequests(true);
    TTSVocalizer voice;
    voice.language = "en";
    voice.voice = "anna";
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const PreviewAnswer answer(c.answer);
        const RenderedPreview preview = renderPreview("text", voice, {50ms});
        EXPECT_EQ(static_cast<int>(preview.confirmation.state), static_cast<int>(c.state));
        EXPECT_EQ(preview.uri, c.uri);
    }
    EXPECT_THROW((void)renderPreview("", voice, {}), std::out_of_range);
}

}  // namespace
