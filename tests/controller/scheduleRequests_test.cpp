// SPDX-License-Identifier: Apache-2.0
// What the operations of schedules check and send, and how one waits for its identifier.
#include <cmath>

#include "sdk/records/ScheduleCache.h"
#include "tests/controller/fixtures.h"

namespace {

using Def = ScheduleDefinition;

// clang-format off
Def morning() {
    return {12, "The \"Morning\"", 2024, 1, 2, 6, 7, 2025, 12, 31, 23, 59, 127, 15, {"Z1", "Z\"2"},
            APM_ABSOLUTE_PRIORITY, 500, AT_TEV, AT_NONE, {101, 4000000000U}, 2,
            {{3, "\"One\"", "en", "anna", 22050, Message::UTF_8},
             {4, "Two", "de", "eva", 48000, Message::UTF_8}},
            4, "/a\",b.wav", "Main", {{"b", "2"}, {"a", "1\""}}, 30, 0.0, ""};
}
// clang-format on
Def typed(Def def, AnnouncementType audio, AnnouncementType visual) {
    def.announcementType = audio;
    def.visualAnnouncementType = visual;
    return def;
}

/// The request for that schedule, or a new one, with its parts.
std::string request(const std::string& parts, const std::string& priority = "0,500",
                    const std::string& id = "12") {
    return "send -1 92/19 1 " + id + "," + quoted("generated-1~" + quoted("The \"Morning\"")) +
           ",2024,1,2,6,7,2025,12,31,23,59,127,15,1,\"\"," + priority + "," + parts + "\n";
}
/// A part of it.
std::string part(const std::string& type, const std::string& content,
                 const std::string& gainAndChime = ",", const std::string& origin = "10.0.0.5") {
    return quoted(type + "," + origin + R"(,"Z1"^"Z\"2",)" + content + "," + gainAndChime);
}
std::string pairOf(const std::string& key, const std::string& value) {
    return quoted(quoted(key) + "=" + quoted(value));
}

const std::string items = "101^4000000000!2";
const std::string spoken = R"("en^anna^48000^\"\\\"One\\\"\""!"de^eva^48000^\"Two\"")";
const std::string variables = pairOf("a", "1\"") + "^" + pairOf("b", "2");
const std::string display = quoted(quoted(variables + "^" + pairOf("{SCREEN}", "Main")) + "!30");

using ScheduleRequestsTest = ControllerTest;

TEST_F(ScheduleRequestsTest, SendEachContent) {
    const std::tuple<AnnouncementType, AnnouncementType, std::string> cases[] = {
        // nothing separates two parts
        {AT_TEV, AT_NONE, part("2", items)},
        {AT_STORED_DATA, AT_NONE, part("1", "4^/a\",b.wav")},
        {AT_STORED_DATA_SAF, AT_NONE, part("11", "4^/a\",b.wav")},
        {AT_LIVE, AT_NONE, part("0", "")},
        {AT_TTS, AT_NONE, part("4", spoken)},
        {AT_TTS_SAF, AT_NONE, part("10", spoken)},
        {AT_TEV, AT_DISPLAY_TEMPLATE, part("2", items) + part("9", display)},
        {AT_TEV, AT_DISPLAY_v0, part("2", items) + part("3", "")},
    };
    for (const auto& [audio, visual, parts] : cases) {
        host().uuids = 0;
        controller.createSchedule(typed(morning(), audio, visual));
        EXPECT_EQ(transcript(), request(parts));
    }
}

TEST_F(ScheduleRequestsTest, SendOnlyTheVariablesThatHaveAName) {
    Def def = typed(morning(), AT_NONE, AT_DISPLAY_TEMPLATE);
    def.displayTemplateName.clear();
    def.displayTemplateKeyValueList[""] = "x";
    controller.createSchedule(def);
    EXPECT_EQ(transcript(),
              "error 1 createScheduleHelper: std::map contains empty key for display template "
              "variable list. not processing\n" +
                  request(part("9", quoted(quoted(variables) + "!30"))));
    host().uuids = 0;
    def.displayTemplateName = "Main";
    def.displayTemplateKeyValueList.clear();
    controller.createSchedule(def);
    EXPECT_EQ(transcript(), request(part("9", quoted(quoted(pairOf("{SCREEN}", "Main")) + "!30"))));
}

TEST_F(ScheduleRequestsTest, SendPriorityGainChimeAndOrigin) {
    gIndirectCXSConnection = true;
    gLocalDstNo = 7;
    Def def = morning();
    def.gain = -3.5;
    def.chime = "d\"g";
    def.priorityMode = APM_RELATIVE_PRIORITY;
    def.priorityLevel = -20;
    controller.modifySchedule(def);
    EXPECT_EQ(transcript(), request(part("2", items, "-3.5,d\"g", "7"), "1,-20"));
}

TEST_F(ScheduleRequestsTest, RefuseAsTheTable) {
    // Each lacks all contents: the first fault is the one that is found.
    const std::tuple<std::string, int, AnnouncementType, AnnouncementType> cases[] = {
        {"invalid scheduleId", 0, AT_NONE, AT_NONE},
        {"invalid scheduleId", -1, AT_NONE, AT_NONE},
        {"announcement type not set for audio/display", 12, AT_NONE, AT_NONE},
        {"dictionary items not defined for announcement type TEV", 12, AT_TEV, AT_DISPLAY_TEMPLATE},
        {"empty TTS entries", 12, AT_TTS, AT_DISPLAY_TEMPLATE},
        {"empty TTS entries", 12, AT_TTS_SAF, AT_DISPLAY_TEMPLATE},
        {"template name OR variable list not specified for announcement type DISPLAY_TEMPLATE", 12,
         AT_LIVE, AT_DISPLAY_TEMPLATE},
        {"audio zones not defined", 12, AT_LIVE, AT_NONE}};
    for (const auto& [refusal, id, audio, visual] : cases) {
        Def def = typed(Def(), audio, visual);
        def.Id = id;
        EXPECT_EQ(outcome([&] { controller.modifySchedule(def); }), "invalid_argument " + refusal);
    }
    EXPECT_EQ(outcome([&] { return controller.createScheduleSync(morning()); }),
              "invalid_argument invalid scheduleId")
        << "the server gives the identifier";
    EXPECT_EQ(transcript(), "");
}

/// Waits for the identifier of a new schedule, and writes it down.
void create() {
    host().uuids = 0;
    Def def = morning();
    def.Id = 0;
    recordingHost::note(outcome([&] {
        recordingHost::note("created " + std::to_string(gPaController.createScheduleSync(def)));
    }));
}

const std::string sentNew = request(part("2", items), "0,500", "0");
const std::string timedOut = "invalid_argument operation timed out\n";

TEST_F(ScheduleRequestsTest, WaitForTheIdentifierOfTheServer) {
    giveSchedule(5, {"other~Morning"});
    giveSchedule(6, {""});
    inSecondPoll([] {
        pa::RecordList record({"generated-1~a~b"});
        gPaController.updateScheduleList(77, record.list());
    });
    create();
    EXPECT_EQ(transcript(), sentNew +
                                "sleep 50\nsleep 50\nsleep 100\n*o: schedule 77 generated-1~a~b\n"
                                "*event 38 77\ncreated 77\naccepted\n");
    controller.initPaResources();
    transcript();
    letTimePass();
    gMaxServerWaitTimeSeconds = 2;
    create();
    gMaxServerWaitTimeSeconds = 0;
    create();
    EXPECT_EQ(transcript(), sentNew + "sleep 50\nsleep 50\n" + timedOut + sentNew + timedOut);
    observer.inCallback = create;
    EXPECT_EQ(giveSink(1, {"1"}),
              "*o: sink 1 \n*" + sentNew +
                  "*error 1 createScheduleSync: called inside a callback of an observer, where no "
                  "answer can arrive\n*" +
                  timedOut + "*event 8 1\n");
}

// The server may report a request twice, change the schedule, or withdraw it.
TEST(ScheduleCacheTest, KnowsTheFirstScheduleOfARequestAsItIsNow) {
    pa::ScheduleCache cache;
    const auto put = [&cache](int id, const char* description) {
        Def def;
        def.Id = id;
        def.descrption = description;
        cache.put(def);
    };
    put(5, "request~old");
    put(4, "request~twin");
    EXPECT_EQ(cache.idOfRequest("request"), 5) << "in order of arrival";
    put(5, "another~renamed");
    EXPECT_EQ(cache.idOfRequest("request"), 4);
    EXPECT_EQ(cache.idOfRequest("another"), 5);
    cache.erase(4);
    EXPECT_EQ(cache.idOfRequest("request"), std::nullopt);
}

TEST(ScheduleCacheTest, KeepsTheSignOfTheLastLevel) {
    pa::ScheduleCache cache;
    Def def;
    for (const double level : {0.0, -0.0}) {
        def.gain = level;
        cache.put(def);
        EXPECT_EQ(std::signbit(cache.find(def.Id)->gain), std::signbit(level));
    }
}

TEST_F(ScheduleRequestsTest, DeleteWhatIsKnown) {
    giveSchedule(5, {"a"});
    debugLevel = 2;
    recordingHost::mutexEntries();
    controller.deleteSchedule(5);
    controller.deleteSchedule(6);
    EXPECT_EQ(recordingHost::mutexEntries(), 0) << "it does not wait for a callback";
    EXPECT_EQ(transcript(),
              "send -1 92/20 1 5\n"
              "log 2 deleteSchedule: request sent to AS to delete schduleId >5<\n");
    EXPECT_EQ(outcome([&] { controller.deleteSchedule(0); }),
              "invalid_argument Invalid scheduleId");
    EXPECT_EQ(controller.listSchedules().size(), 1U) << "until the server withdraws it";
}

}  // namespace
