// SPDX-License-Identifier: Apache-2.0
#include "client/confirmed.h"

#include <atomic>
#include <stdexcept>

#include "client/Preview.h"
#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "include/common/RecordList.h"
#include "tests/client/changes.h"
#include "tests/client/serverFixture.h"
#include "tests/support/tables.h"

namespace {

using namespace std::chrono_literals;
using namespace paclient;
using Names = std::vector<std::string>;

/// A clock that advances by 1 ms with every look at it.
struct ConfirmTest : testing::Test {
    ConfirmTest() {
        static std::atomic<std::int64_t> now{0};
        pa::setTimeSource({nullptr, [] { return ++now; }, nullptr});
    }
    ~ConfirmTest() override { pa::setTimeSource({}); }
};

/// What a request comes to: "whose refusals it takes, looks until the effect is there (-1: never),
/// changes after it is sent".
std::string confirmed(const std::string& given) {
    std::istringstream words(given);
    std::string id;
    int looks = 0;
    std::string changes;
    std::getline(words >> id >> looks, changes);
    ConfirmedRequest request;
    request.operations = {pa::operations::playMessage};
    request.requestId = id == "any" ? "" : ownId;
    request.send = [&] { publish(changes); };
    request.holds = [&] { return looks-- == 0; };
    const std::string result = textOf(confirm(request, {20ms, {}, 1ms}));
    publish("stopped");
    return result;
}

TEST_F(ConfirmTest, EndsWithTheFirstAnswer) {
    expectTable(confirmed);
}

TEST_F(ConfirmTest, TakesNoEmptiedCacheForAnEffect) {
    bool isEntryThere = true;
    ConfirmedRequest request;
    request.send = [] {};
    request.holds = [&] {
        if (isEntryThere) {  // the loss follows the look at the changes
            publish("lost");
            isEntryThere = false;
        }
        return !isEntryThere;
    };
    const Wait wait{20ms, {}, 1ms};
    EXPECT_EQ(textOf(confirm(request, wait)), "connection lost: cable");
    publish("connected");
    EXPECT_EQ(textOf(confirm(request, wait)), "connection lost") << "not synced yet";
    request.send = [&] { publish("synced"); };
    EXPECT_EQ(textOf(confirm(request, wait)), "done") << "away when it began";
    EXPECT_EQ(textOf(confirm(request, wait)), "as before");
}

TEST_F(ConfirmTest, TakesNoAnswerFromBeforeItIsSent) {
    bool isSent = false;
    ConfirmedRequest request;
    request.operations = {pa::operations::playMessage};
    request.send = [&] { isSent = true; };
    request.holds = [&] {
        publish(isSent ? "" : "refused");
        return false;
    };
    EXPECT_EQ(textOf(confirm(request, {20ms, {}, 1ms})), "timed out");
}

// ------------------------------------------------------------------------- with a simulated server

struct ConfirmedOperationsTest : ClientTest {
    static PaSink sink(int id) { return gPaController.findPaSink(id).value(); }
    static PaSource source(int id) { return gPaController.findPaSource(id).value(); }
};

TEST_F(ConfirmedOperationsTest, ReportWhatTheServerHasConfirmed) {
    const Wait wait;
    const std::string path = "/home/quillon/tmp/a.wav";
    const Names hall{"Hall"};
    const Names both{"Yard", "Hall"};
    ASSERT_NE(gPaController.createSwPaTrigger(2, 50), 0);
    const PaSWTrigger yard = gPaController.getSwPaTriggers().back();
    EXPECT_EQ(allTriggers().back().associatedSourceId, 2);
    std::optional<int> started;
    const auto replace = PaSource::REPLACE_EXISTING_SET;
    const auto add = PaSource::ADD_TO_EXISTING_SET;
    const auto activated = [&] {
        const Activation activation = activate(yard, wait);
        started = activation.announcement->id;
        EXPECT_EQ(activation.announcement->zones, Names{"Yard"});
        return activation.confirmation;
    };
    const auto stopped = [&] {
        const StoppedRecording recording = stopRecording(wait);
        EXPECT_EQ(recording.path, recording.confirmation.holds() ? path : "");
        return recording.confirmation;
    };
    expectConfirmations({
        {[&] { return setGain(sink(1), -20.12345678, false, false, wait); }, "done"},
        {[&] { return setGain(sink(1), -20.1235, false, false, wait); }, "as before"},
        {[&] { return setGain(sink(1), -20.1235, true, false, {5ms}); }, "done"},
        {[&] { return setGain(sink(1), -0.0, false, false, wait); }, "done"},
        {[&] { return setGain(sink(1), 0.0, false, false, wait); }, "as before"},
        {[&] { return setGain(source(1), 42, false, false, wait); }, "done"},
        {[&] { return setMonitoring(sink(1), true, wait); }, "done"},
        {[&] { return reset(sink(9), false, wait); }, "done"},
        {[&] { return attachZones(source(1), hall, add, wait); }, "done"},
        {[&] { return attachZones(source(1), both, add, wait); }, "done"},
        {[&] { return attachZones(source(1), hall, replace, wait); }, "done"},
        {[&] { return detachZones(source(1), hall, wait); }, "done"},
        {[&] { return detachAllZones(source(1), wait); }, "as before"},
        {[&] { return takeLock(1, wait); }, "done"},
        {[&] { return releaseLock(1, wait); }, "done"},
        {[&] { return releaseLock(1, wait); }, "refused: no client holds its lock"},
        {activated, "done"},
        {[&] { return deactivate(yard, started, wait); }, "done"},
        {[&] { return deactivate(yard, started, wait); }, "refused: ..."},
        {[&] { return startRecording(path, wait); }, "done"},
        {[&] { return startRecording("/etc/passwd", wait); }, "refused: ..."},
        {stopped, "done"},
        {stopped, "refused: ..."},
        {[&] { return deleteRecording(path + "x", wait); }, "refused: ..."},
    });
    gPaController.deleteSwPaTrigger(yard.trigger.id);
}

TEST_F(ConfirmedOperationsTest, AreRefusedOrOpenOtherwise) {
    EXPECT_THROW((void)setGain(sink(9), 0, false, false, {}), std::invalid_argument);
    EXPECT_THROW((void)setGain(source(1), 42.5, false, false, {}), std::out_of_range);
    EXPECT_THROW((void)reset(sink(1), false, {}), std::invalid_argument);
    server.lockSource(1, "other");
    connection.waitUntilDelivered();
    const std::string refusal = "refused: another client holds its lock (other)";
    EXPECT_EQ(textOf(takeLock(1, {})), refusal);
    EXPECT_EQ(textOf(releaseLock(1, {})), refusal);
    EXPECT_THROW((void)takeLock(999, {}), std::invalid_argument);
    publish("lost");
    EXPECT_EQ(textOf(releaseLock(1, {0ms})), "not sent: there is no connection to the server");
    publish("synced");

    server.ignoreRequests(true);
    EXPECT_EQ(textOf(setMonitoring(sink(1), true, {0ms})), "timed out");
    int reports = 0;
    const auto reportUnit = [&](auto) {
        PaSink unit = sink(9);
        unit.healthState = ++reports < 3 ? PaSink::INACTIVE : PaSink::HEALTHY;
        ChangeStream::instance().publish(Updated<PaSink>{unit});
    };
    EXPECT_EQ(textOf(reset(sink(9), true, {10s, reportUnit})), "done");
    EXPECT_EQ(reports, 3) << "when it is back";
    const auto loseRecording = [](auto) {
        AnnouncementRequest record;
        record.completionMsg = "no space";
        for (const char* const state : {"Recording", "Failed"}) {
            record.stateText = state;
            ChangeStream::instance().publish(Updated<AnnouncementRequest>{record});
        }
    };
    EXPECT_EQ(textOf(stopRecording({10s, loseRecording}).confirmation),
              "refused: the recording is lost: no space");
}

// ------------------------------------------------------------------------------------- previews

/// What may follow the request for a preview.
std::map<std::string, Change> previewAnswers(const std::string& id) {
    const auto asked = pa::operations::retrieveAudio;
    return {{"spoken", Retrieval{id, true, {}, "file:/a"}},
            {"failed", Retrieval{id, false, PAControllerObserver::MRE_INVALID_PARAMS, ""}},
            {"given-up", Retrieval{id, false, PAControllerObserver::MRE_TIMED_OUT, ""}},
            {"refused", palink::Refusal{asked, id, "not now"}},
            {"other-refused", palink::Refusal{asked, "other", "not now"}},
            {"other-spoken", Retrieval{"other", true, {}, "file:/b"}},
            {"same-spoken", Retrieval{"other", true, {}, "file:/same"}}};
}

TEST_F(ConfirmedOperationsTest, PreviewsEndWithTheirAnswer) {
    server.ignoreRequests(true);
    pa::RecordList item({"4", "", "\"text\"", "", "", "", "\"file:/same\""});
    gPaController.updateFromTTS_Dictionary(9, item.list());
    const TTSVocalizer voice = gPaController.getTTSVocalizerList().at(0);
    const auto previewed = [&](const std::string& answers) {
        const Listener sent(kinds<SentOperation>(), [&](const ChangePtr& change) {
            const std::string& payload = std::get<SentOperation>(*change).operation.payload;
            std::istringstream words(answers);
            for (std::string answer; words >> answer;) {
                const std::string id = payload.substr(0, payload.find(','));
                ChangeStream::instance().publish(previewAnswers(id).at(answer));
            }
        });
        const RenderedPreview preview = renderPreview("text", voice, {});
        return textOf(preview.confirmation) + (preview.uri.empty() ? "" : " " + preview.uri);
    };
    expectTable(previewed);
}

}  // namespace
