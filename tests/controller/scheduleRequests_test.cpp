// What the operations of schedules check and send, and how one waits for its identifier.
#include "tests/controller/fixtures.h"
#include "tests/controller/outcome.h"

namespace {

// clang-format off
ScheduleDefinition morning() {
    return {12, "Morning", 2024, 1, 2, 6, 7, 2025, 12, 31, 23, 59, 127, 15, {"Z1", "Z2"},
            APM_ABSOLUTE_PRIORITY, 500, AT_TEV, AT_NONE, {101, 4000000000U}, 2,
            {}, 0, "", "", {}, 0, 0.0, ""};
}
// clang-format on

ScheduleDefinition displayed() {
    ScheduleDefinition def = morning();
    def.announcementType = AT_NONE;
    def.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
    def.displayTemplateName = "Main";
    def.displayTemplateKeyValueList = {{"b", "2"}, {"a", "1"}};
    def.displayTemplateValidityPeriodSeconds = 30;
    return def;
}

const std::string dates = "2024,1,2,6,7,2025,12,31,23,59,127,15,1,\"\",";

/// The beginning of an unescaped request.
std::string headOf(const std::string& id, const std::string& uuid, const std::string& priority) {
    return "send -1 92/19 1 " + id + "," + uuid + "~Morning," + dates + priority + ",";
}
const std::string head = headOf("12", "generated-1", "0,500");
const std::string items = "101^4000000000!2";

struct ScheduleRequestsTest : OwnController {
    std::string sent(const ScheduleDefinition& def) {
        recordingHost::reset();
        recordingHost::host().plainEncoding = plain;
        controller.createSchedule(def);
        return recordingHost::transcript();
    }

    void report(int id, const std::string& description) {
        pa::RecordList record({description});
        controller.updateScheduleList(id, record.list());
    }

    bool plain = true;
};

TEST_F(ScheduleRequestsTest, SendEachContentUnchanged) {
    EXPECT_EQ(sent(morning()), head + "2,10.0.0.5,Z1^Z2," + items + ",,\n");
    ScheduleDefinition def = morning();
    def.gain = -3.5;
    def.chime = "ding";
    def.priorityMode = APM_RELATIVE_PRIORITY;
    def.priorityLevel = -20;
    EXPECT_EQ(sent(def),
              headOf("12", "generated-1", "1,-20") + "2,10.0.0.5,Z1^Z2," + items + ",-3.5,ding\n");

    EXPECT_EQ(sent(displayed()), head + "9,10.0.0.5,Z1^Z2,a=1^b=2^{SCREEN}=Main!30,,\n");
    def = displayed();
    def.announcementType = AT_TEV;
    def.chime = "c";
    EXPECT_EQ(sent(def), head + "2,10.0.0.5,Z1^Z2," + items +
                             ",,c9,10.0.0.5,Z1^Z2,a=1^b=2^{SCREEN}=Main!30,,c\n")
        << "nothing separates the parts";
    def = displayed();
    def.displayTemplateKeyValueList.clear();
    EXPECT_EQ(sent(def), head + "9,10.0.0.5,Z1^Z2,{SCREEN}=Main!30,,\n");
    def.visualAnnouncementType = AT_DISPLAY_v0;
    EXPECT_EQ(sent(def), head + std::to_string(AT_DISPLAY_v0) + ",10.0.0.5,Z1^Z2,,,\n")
        << "only a template has a content";
    def = displayed();
    def.displayTemplateName.clear();
    def.displayTemplateKeyValueList[""] = "x";
    EXPECT_EQ(sent(def),
              "error 1 createScheduleHelper: std::map contains empty key for display template "
              "variable list. not processing\n" +
                  head + "9,10.0.0.5,Z1^Z2,a=1^b=2!30,,\n");

    def = morning();
    def.storedDataSourceId = 4;
    def.storedDataFilePath = "/a,b.wav";
    def.ttsList = {{3, "One", "en", "anna", 22050, Message::UTF_8},
                   {4, "Two", "de", "eva", 48000, Message::UTF_8}};
    const std::string spoken = "en^anna^48000^One!de^eva^48000^Two";
    const std::pair<AnnouncementType, std::string> contents[] = {
        {AT_STORED_DATA, "1,10.0.0.5,Z1^Z2,4^/a,b.wav"},
        {AT_STORED_DATA_SAF, "11,10.0.0.5,Z1^Z2,4^/a,b.wav"},
        {AT_LIVE, "0,10.0.0.5,Z1^Z2,"},
        {AT_TTS, "4,10.0.0.5,Z1^Z2," + spoken},
        {AT_TTS_SAF, "10,10.0.0.5,Z1^Z2," + spoken}};
    for (const auto& [type, part] : contents) {
        def.announcementType = type;
        EXPECT_EQ(sent(def), head + part + ",,\n");
    }
    gIndirectCXSConnection = true;
    gLocalDstNo = 7;
    controller.modifySchedule(morning());
    EXPECT_EQ(recordingHost::transcript(),
              headOf("12", "generated-2", "0,500") + "2,7,Z1^Z2," + items + ",,\n");
}

TEST_F(ScheduleRequestsTest, EncodeEachTextOnceForEachLevel) {
    plain = false;
    ScheduleDefinition def = morning();
    def.descrption = "a\"b";
    def.paZones = {"Z"};
    def.announcementType = AT_TTS;
    def.ttsList = {{3, "Hi", "en", "anna", 48000, Message::UTF_8}};
    EXPECT_EQ(sent(def), R"(send -1 92/19 1 12,"generated-1~\"a\\\"b\"",)" + dates + "0,500," +
                             R"("4,10.0.0.5,\"Z\",\"en^anna^48000^\\\"Hi\\\"\",,")"
                             "\n");
    def.announcementType = AT_STORED_DATA;
    def.storedDataSourceId = 4;
    def.storedDataFilePath = "/a\"b";
    def.chime = "d\"g";
    EXPECT_EQ(sent(def), R"(send -1 92/19 1 12,"generated-1~\"a\\\"b\"",)" + dates + "0,500," +
                             R"("1,10.0.0.5,\"Z\",4^/a\"b,,d\"g")"
                             "\n")
        << "path and chime are unchanged in the part";
    def = displayed();
    def.paZones = {"Z"};
    def.displayTemplateKeyValueList.clear();
    EXPECT_EQ(sent(def),
              R"(send -1 92/19 1 12,"generated-1~\"Morning\"",)" + dates + "0,500," +
                  R"("9,10.0.0.5,\"Z\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"{SCREEN}\\\\\\\\\\\\\\\"=)"
                  R"(\\\\\\\\\\\\\\\"Main\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\",,")"
                  "\n");
}

TEST_F(ScheduleRequestsTest, RefuseAsTheTable) {
    using Def = ScheduleDefinition;
    // Each fault is added to those above, and is found before them.
    const std::pair<void (*)(Def&), const char*> cases[] = {
        {[](Def& def) { def.paZones.clear(); }, "audio zones not defined"},
        {[](Def& def) {
             def.displayTemplateName.clear();
             def.displayTemplateKeyValueList.clear();
         },
         "template name OR variable list not specified for announcement type DISPLAY_TEMPLATE"},
        {[](Def& def) { def.announcementType = AT_TTS; }, "empty TTS entries"},
        {[](Def& def) { def.announcementType = AT_TTS_SAF; }, "empty TTS entries"},
        {[](Def& def) {
             def.announcementType = AT_TEV;
             def.dictionaryItems.clear();
         },
         "dictionary items not defined for announcement type TEV"},
        {[](Def& def) { def.announcementType = def.visualAnnouncementType = AT_NONE; },
         "announcement type not set for audio/display"},
        {[](Def& def) { def.Id = 0; }, "invalid scheduleId"},
        {[](Def& def) { def.Id = -1; }, "invalid scheduleId"},
    };
    ScheduleDefinition def = displayed();
    for (const auto& [spoil, refusal] : cases) {
        spoil(def);
        EXPECT_EQ(outcome([&] { controller.modifySchedule(def); }),
                  std::string("invalid_argument ") + refusal);
    }
    for (const int id : {12, -1}) {  // the server gives the identifier
        def.Id = id;
        EXPECT_EQ(outcome([&] { return controller.createScheduleSync(def); }),
                  "invalid_argument invalid scheduleId");
    }
    EXPECT_EQ(recordingHost::transcript(), "");
}

TEST_F(ScheduleRequestsTest, WaitForTheIdentifierOfTheServer) {
    recordingHost::host().plainEncoding = true;
    ScheduleDefinition def = morning();
    def.Id = 0;
    report(5, "other~Morning");
    report(6, "");
    recordingHost::transcript();
    recordingHost::host().sleepAction = [this, polls = 0](int ms) mutable {
        if (ms == 50 && ++polls == 2) {
            report(77, "generated-1~a~b");
        }
    };
    EXPECT_EQ(controller.createScheduleSync(def), 77);
    EXPECT_EQ(recordingHost::transcript(), headOf("0", "generated-1", "0,500") +
                                               "2,10.0.0.5,Z1^Z2," + items +
                                               ",,\nsleep 50\nsleep 50\nsleep 100\n*event 38 77\n");

    gMaxServerWaitTimeSeconds = 2;
    recordingHost::host().sleepAction = [now = 1000](int) mutable {
        recordingHost::host().now = ++now;
    };
    EXPECT_EQ(outcome([&] { return controller.createScheduleSync(def); }),
              "invalid_argument operation timed out");
    gMaxServerWaitTimeSeconds = 0;
    recordingHost::transcript();
    EXPECT_EQ(outcome([&] { return controller.createScheduleSync(def); }),
              "invalid_argument operation timed out");
    EXPECT_EQ(recordingHost::transcript().find("sleep"), std::string::npos);
}

TEST_F(ScheduleRequestsTest, AreNotWaitedForInsideACallback) {
    ScheduleDefinition def = morning();
    def.Id = 0;
    RecordingObserver observer("o");
    controller.registerObserver(&observer);
    observer.inCallback = [&] {
        EXPECT_EQ(outcome([&] { static_cast<void>(controller.createScheduleSync(def)); }),
                  "invalid_argument operation timed out");
    };
    pa::RecordList sink({"1"});
    controller.addUpdatePaSink(1, sink.list());
    const std::string transcript = recordingHost::transcript();
    EXPECT_NE(transcript.find("*send -1 92/19 1 0,"), std::string::npos) << transcript;
    EXPECT_NE(transcript.find("*error 1 createScheduleSync: called inside a callback"),
              std::string::npos)
        << transcript;
}

// The server may report a request twice, change the schedule, or withdraw it.
TEST_F(ScheduleRequestsTest, AreRecognisedAsTheCacheIsNow) {
    recordingHost::host().plainEncoding = true;
    ScheduleDefinition def = morning();
    def.Id = 0;
    report(5, "generated-1~old");
    report(4, "generated-1~twin");
    EXPECT_EQ(controller.createScheduleSync(def), 5) << "the first in order of arrival";
    report(5, "generated-2~renamed");
    recordingHost::host().uuids = 0;
    EXPECT_EQ(controller.createScheduleSync(def), 4);
    EXPECT_EQ(controller.createScheduleSync(def), 5) << "under the UUID that it has now";
    controller.deleteAudioVideoControllerInfo(0, 18, 4);
    recordingHost::host().uuids = 0;
    gMaxServerWaitTimeSeconds = 1;
    recordingHost::host().sleepAction = [now = 1000](int) mutable {
        recordingHost::host().now = ++now;
    };
    EXPECT_EQ(outcome([&] { static_cast<void>(controller.createScheduleSync(def)); }),
              "invalid_argument operation timed out");
}

TEST_F(ScheduleRequestsTest, DeleteWhatIsKnown) {
    report(5, "a");
    recordingHost::transcript();
    debugLevel = 2;
    recordingHost::mutexEntries();
    controller.deleteSchedule(5);
    controller.deleteSchedule(6);
    EXPECT_EQ(recordingHost::mutexEntries(), 0) << "it does not wait for a callback";
    EXPECT_EQ(recordingHost::transcript(),
              "send -1 92/20 1 5\n"
              "log 2 deleteSchedule: request sent to AS to delete schduleId >5<\n");
    for (const int id : {0, -5}) {
        EXPECT_EQ(outcome([&] { controller.deleteSchedule(id); }),
                  "invalid_argument Invalid scheduleId");
    }
    EXPECT_EQ(controller.listSchedules().size(), 1U) << "until the server withdraws it";
}

}  // namespace
