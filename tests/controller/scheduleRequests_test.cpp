// What the operations of schedules check and send, and how one waits for its identifier.
#include <gtest/gtest.h>
#include <stdexcept>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"
#include "tests/support/thrownBy.h"

namespace {

ScheduleDefinition morning() {
    ScheduleDefinition def;
    def.Id = 12;
    def.descrption = "Morning";
    def.startYear = 2024;
    def.startMonth = 1;
    def.startDay = 2;
    def.startHour = 6;
    def.startMinute = 7;
    def.endYear = 2025;
    def.endMonth = 12;
    def.endDay = 31;
    def.endHour = 23;
    def.endMinute = 59;
    def.dayMask = 127;
    def.frequency = 15;
    def.paZones = {"Z1", "Z2"};
    def.announcementType = AT_TEV;
    def.dictionaryItems = {101, 4000000000U};
    def.repeatCnt = 2;
    return def;
}

ScheduleDefinition shown() {
    ScheduleDefinition def = morning();
    def.announcementType = AT_NONE;
    def.visualAnnouncementType = AT_DISPLAY_TEMPLATE;
    def.displayTemplateName = "Main";
    def.displayTemplateKeyValueList = {{"b", "2"}, {"a", "1"}};
    def.displayTemplateValidityPeriodSeconds = 30;
    return def;
}

const std::string head =
    "send -1 92/19 1 12,generated-1~Morning,2024,1,2,6,7,2025,12,31,23,59,127,15,1,\"\",0,500,";
const std::string items = "101^4000000000!2";

struct ScheduleRequestsTest : testing::Test {
    ScheduleRequestsTest() { recordingHost::reset(); }

    std::string sent(const ScheduleDefinition& def) {
        recordingHost::reset();
        recordingHost::setPlainEncoding(plain);
        controller.createSchedule(def);
        return recordingHost::transcript();
    }

    void tell(int id, const std::string& description) {
        RecordList record({description});
        controller.updateScheduleList(id, record.list());
    }

    bool plain = true;
    PAController controller;
};

TEST_F(ScheduleRequestsTest, SendEachContentUnchanged) {
    EXPECT_EQ(sent(morning()), head + "2,10.0.0.5,Z1^Z2," + items + ",,\n");
    ScheduleDefinition def = morning();
    def.gain = -3.5;
    def.chime = "ding";
    def.priorityMode = APM_RELATIVE_PRIORITY;
    def.priorityLevel = -20;
    const std::string relative = head.substr(0, head.size() - 6) + "1,-20,";
    EXPECT_EQ(sent(def), relative + "2,10.0.0.5,Z1^Z2," + items + ",-3.5,ding\n");

    EXPECT_EQ(sent(shown()), head + "9,10.0.0.5,Z1^Z2,a=1^b=2^{SCREEN}=Main!30,,\n");
    def = shown();
    def.announcementType = AT_TEV;
    def.chime = "c";
    EXPECT_EQ(sent(def), head + "2,10.0.0.5,Z1^Z2," + items +
                             ",,c9,10.0.0.5,Z1^Z2,a=1^b=2^{SCREEN}=Main!30,,c\n")
        << "nothing stands between the parts";
    def = shown();
    def.displayTemplateKeyValueList.clear();
    EXPECT_EQ(sent(def), head + "9,10.0.0.5,Z1^Z2,{SCREEN}=Main!30,,\n");
    def = shown();
    def.displayTemplateName.clear();
    def.displayTemplateKeyValueList[""] = "x";
    EXPECT_EQ(sent(def),
              "error 1 createScheduleHelper: std::map contains empty key for display template "
              "variable list. not processing\n" +
                  head + "9,10.0.0.5,Z1^Z2,a=1^b=2!30,,\n");

    for (const AnnouncementType type : {AT_STORED_DATA, AT_STORED_DATA_SAF, AT_LIVE}) {
        def = morning();
        def.announcementType = type;
        def.storedDataSourceId = 4;
        def.storedDataFilePath = "/a,b.wav";
        EXPECT_EQ(sent(def), head + std::to_string(type) + ",10.0.0.5,Z1^Z2," +
                                 (type == AT_LIVE ? "" : "4^/a,b.wav") + ",,\n");
    }
    for (const AnnouncementType type : {AT_TTS, AT_TTS_SAF}) {
        def = morning();
        def.announcementType = type;
        def.ttsList = {{3, "One", "en", "anna", 22050, Message::UTF_8},
                       {4, "Two", "de", "eva", 48000, Message::UTF_8}};
        EXPECT_EQ(sent(def), head + std::to_string(type) +
                                 ",10.0.0.5,Z1^Z2,en^anna^48000^One!de^eva^48000^Two,,\n");
    }
    gIndirectCXSConnection = true;
    recordingHost::setPlainEncoding(true);
    gLocalDstNo = 7;
    controller.modifySchedule(morning());
    EXPECT_EQ(recordingHost::transcript(),
              "send -1 92/19 1 12,generated-2" + head.substr(30) + "2,7,Z1^Z2," + items + ",,\n");
}

TEST_F(ScheduleRequestsTest, EncodeEachTextOnceForEachLevel) {
    plain = false;
    const std::string dates = "2024,1,2,6,7,2025,12,31,23,59,127,15,1,\"\",0,500,";
    ScheduleDefinition def = morning();
    def.descrption = "a\"b";
    def.paZones = {"Z"};
    def.announcementType = AT_TTS;
    def.ttsList = {{3, "Hi", "en", "anna", 48000, Message::UTF_8}};
    EXPECT_EQ(sent(def), R"(send -1 92/19 1 12,"generated-1~\"a\\\"b\"",)" + dates +
                             R"("4,10.0.0.5,\"Z\",\"en^anna^48000^\\\"Hi\\\"\",,")"
                             "\n");
    def = shown();
    def.paZones = {"Z"};
    def.displayTemplateKeyValueList.clear();
    EXPECT_EQ(sent(def),
              R"(send -1 92/19 1 12,"generated-1~\"Morning\"",)" + dates +
                  R"("9,10.0.0.5,\"Z\",\"\\\"\\\\\\\"\\\\\\\\\\\\\\\"{SCREEN}\\\\\\\\\\\\\\\"=)"
                  R"(\\\\\\\\\\\\\\\"Main\\\\\\\\\\\\\\\"\\\\\\\"\\\"!30\",,")"
                  "\n");
}

TEST_F(ScheduleRequestsTest, RefuseAsTheTable) {
    const auto refusal = [this](ScheduleDefinition def, bool sync = false) {
        return thrownBy<std::invalid_argument>([&] {
            sync ? void(controller.createScheduleSync(def)) : controller.modifySchedule(def);
        });
    };
    ScheduleDefinition def = shown();
    def.paZones.clear();
    EXPECT_EQ(refusal(def), "audio zones not defined");
    def.displayTemplateName.clear();
    def.displayTemplateKeyValueList.clear();
    EXPECT_EQ(refusal(def),
              "template name OR variable list not specified for announcement type "
              "DISPLAY_TEMPLATE");
    def.announcementType = AT_TEV;
    def.dictionaryItems.clear();
    EXPECT_EQ(refusal(def), "dictionary items not defined for announcement type TEV");
    for (const AnnouncementType type : {AT_TTS, AT_TTS_SAF}) {
        def.announcementType = type;
        EXPECT_EQ(refusal(def), "empty TTS entries");
    }
    def.announcementType = AT_NONE;
    def.visualAnnouncementType = AT_NONE;
    EXPECT_EQ(refusal(def), "announcement type not set for audio/display");
    EXPECT_EQ(refusal(def, true), "invalid scheduleId");
    for (const int id : {0, -1}) {
        def.Id = id;
        EXPECT_EQ(refusal(def), "invalid scheduleId");
    }
    EXPECT_EQ(refusal(def, true), "invalid scheduleId") << "it is -1";
    EXPECT_EQ(recordingHost::transcript(), "");
}

TEST_F(ScheduleRequestsTest, WaitForTheIdentifierOfTheServer) {
    recordingHost::setPlainEncoding(true);
    ScheduleDefinition def = morning();
    def.Id = 0;
    tell(5, "other~Morning");
    tell(6, "");
    recordingHost::transcript();
    recordingHost::setSleepAction([this, polls = 0](int ms) mutable {
        if (ms == 50 && ++polls == 2) {
            tell(77, "generated-1~a~b");
        }
    });
    EXPECT_EQ(controller.createScheduleSync(def), 77);
    EXPECT_EQ(recordingHost::transcript(), "send -1 92/19 1 0" + head.substr(18) +
                                               "2,10.0.0.5,Z1^Z2," + items +
                                               ",,\nsleep 50\nsleep 50\nsleep 100\n*event 38 77\n");

    gMaxServerWaitTimeSeconds = 2;
    recordingHost::setSleepAction(
        [now = 1000](int) mutable { recordingHost::setWallClock(++now); });
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { controller.createScheduleSync(def); }),
              "operation timed out");
    gMaxServerWaitTimeSeconds = 0;
    recordingHost::transcript();
    EXPECT_EQ(thrownBy<std::invalid_argument>([&] { controller.createScheduleSync(def); }),
              "operation timed out");
    EXPECT_EQ(recordingHost::transcript().find("sleep"), std::string::npos);
    gMaxServerWaitTimeSeconds = 10;
}

TEST_F(ScheduleRequestsTest, DeleteWhatIsKnown) {
    tell(5, "a");
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
        EXPECT_EQ(thrownBy<std::invalid_argument>([&] { controller.deleteSchedule(id); }),
                  "Invalid scheduleId");
    }
    EXPECT_EQ(controller.listSchedules().size(), 1U) << "until the server withdraws it";
}

}  // namespace
