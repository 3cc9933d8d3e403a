// Schedule records: what is decoded, what is dropped, what is told.
#include <gtest/gtest.h>
#include <sstream>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

const RecordFields dates = fieldsOf("uuid~Morning|2024:3:4|6:7|2030:6:5|23:59|127|15|1|-20");

RecordFields withParts(const std::string& audio, const std::string& visual = "") {
    return with(with(dates, 9, audio), 10, visual);
}

/// What the dates, the parts, or everything of a schedule reads as.
std::string whenOf(const ScheduleDefinition& s) {
    std::ostringstream out;
    out << s.startYear << '/' << s.startMonth << '/' << s.startDay << ' ' << s.startHour << ':'
        << s.startMinute << ' ' << s.endYear << '/' << s.endMonth << '/' << s.endDay << ' '
        << s.endHour << ':' << s.endMinute << ' ' << s.dayMask << ' ' << s.frequency << ' '
        << s.priorityMode << ' ' << s.priorityLevel;
    return out.str();
}
std::string whatOf(const ScheduleDefinition& s) {
    std::ostringstream out;
    out << s.announcementType << ' ' << s.visualAnnouncementType << " zones";
    for (const std::string& zone : s.paZones) {
        out << ' ' << zone;
    }
    for (const unsigned item : s.dictionaryItems) {
        out << " item " << item;
    }
    out << " x" << s.repeatCnt;
    for (const TTSVocalizer& t : s.ttsList) {
        out << " say " << t.language << '/' << t.voice << '/' << t.rate << '/' << t.text << '/'
            << t.portNo << t.encoding;
    }
    out << " stored " << s.storedDataSourceId << s.storedDataFilePath << " screen "
        << s.displayTemplateName;
    for (const auto& [key, value] : s.displayTemplateKeyValueList) {
        out << ' ' << key << '=' << value;
    }
    out << " valid " << s.displayTemplateValidityPeriodSeconds << " gain " << s.gain << " chime "
        << s.chime;
    return out.str();
}

struct SchedulesTest : testing::Test {
    SchedulesTest() {
        recordingHost::reset();
        controller.registerObserver(&observer);
    }

    std::string handle(int id, const RecordFields& fields) {
        RecordList record(fields);
        controller.updateScheduleList(id, record.list());
        return recordingHost::transcript();
    }

    ScheduleDefinition only() {
        const auto schedules = controller.listSchedules();
        EXPECT_EQ(schedules.size(), 1U);
        return schedules.empty() ? ScheduleDefinition() : schedules[0];
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(SchedulesTest, DecodeTheirDates) {
    handle(5, dates);
    EXPECT_EQ(whenOf(only()), "2024/3/4 6:7 2030/6/5 23:59 127 15 1 -20");
    const std::vector<std::pair<RecordFields, const char*>> cases = {
        {{}, "0/0/0 0:0 0/0/0 0:0 0 0 0 500"},
        {fieldsOf("d|2024|7|2030:6|8|1"), "2024/1/1 7:0 2030/6/30 8:0 1 0 0 500"},
        {fieldsOf("d|\"x\"|:|:|:5"), "0/1/1 0:0 0/0/30 0:5 0 0 0 500"},
        {fieldsOf("d|\"\"|-|\"\""), "1970/1/1 0:0 2050/12/30 0:0 0 0 0 500"},
    };
    int id = 5;
    for (const auto& [fields, expected] : cases) {
        handle(++id, fields);
        EXPECT_EQ(whenOf(controller.listSchedules().back()), expected);
    }
}

TEST_F(SchedulesTest, DecodeEachContent) {
    const std::vector<std::pair<RecordFields, std::string>> cases = {
        {dates, "7 7 zones x1 stored 0 screen  valid 0 gain 0 chime "},
        {withParts(R"("2,o,\"Z1\"^\"Z2\",12^x^40!3,-6.5,ding^dong")"),
         "2 7 zones Z1 Z2 item 12 item 0 item 40 x3 stored 0 screen  valid 0 gain -6.5 chime ding"},
        {withParts("2,o,Z,7"), "2 7 zones Z item 7 x1 stored 0 screen  valid 0 gain 0 chime "},
        {withParts("4,o,Z,en^anna^48000^One!de^eva^x^Two,"),
         "4 7 zones Z x1 say en/anna/48000/One/01 say de/eva/0/Two/01 stored 0 screen  valid 0 "
         "gain 0 chime "},
        {withParts("10,o,,en^a^1^One"),
         "10 7 zones x1 say en/a/1/One/01 stored 0 screen  valid 0 gain 0 chime "},
        {withParts("1,o,Z,4^/a.wav"),
         "1 7 zones Z x1 stored 4/a.wav screen  valid 0 gain 0 chime "},
        {withParts("11,o,Z,4"), "11 7 zones Z x1 stored 4 screen  valid 0 gain 0 chime "},
        {withParts("0,o,Z,anything"), "0 7 zones Z x1 stored 0 screen  valid 0 gain 0 chime "},
        {withParts("", "9,o,Z,b=2^a=1^{SCREEN}=Main!30,3,c"),
         "7 9 zones Z x1 stored 0 screen Main a=1 b=2 valid 30 gain 3 chime c"},
        {withParts("9,o,Z,a=1"), "9 7 zones Z x1 stored 0 screen  a=1 valid 0 gain 0 chime "},
        {withParts("", "9,o,Z,a=1!5!6"),
         "7 9 zones Z x1 stored 0 screen  a=1 valid 0 gain 0 chime "},
        {withParts("2,o,A,7!2,-1,x", "9,o,B,a=1!5"),
         "2 9 zones B item 7 x2 stored 0 screen  a=1 valid 5 gain 0 chime "},
        {withParts("9,o,A,a=1!5", "3,o,B,b=2!6"),
         "9 3 zones B x1 stored 0 screen  a=1 b=2 valid 6 gain 0 chime "},
    };
    int id = 0;
    for (const auto& [fields, expected] : cases) {
        EXPECT_EQ(handle(++id, fields).find("error"), std::string::npos) << expected;
        EXPECT_EQ(whatOf(controller.listSchedules().back()), expected);
    }
}

TEST_F(SchedulesTest, ARecordThatCannotBeReadLeavesTheListAsItIs) {
    const std::string entry =
        "error 3 updateScheduleList: schedule description >uuid~Morning< failed. insufficient TTS "
        "entry parameters >";
    const std::vector<std::pair<RecordFields, std::string>> cases = {
        {withParts("2,o,Z,,", "9"),
         "error 3 updateScheduleList: failed to parse schedule as message contents is empty,  "
         "Schedule Id >5<\n"},
        {withParts("4,o,Z,,"),
         "error 3 updateScheduleList: schedule description >uuid~Morning< failed. insufficient "
         "message parameters ><\n"},
        {withParts("4,o,Z,en^a^1^ok!en^anna^48000"), entry + "en^anna^48000<\n"},
        {withParts("10,o,Z,a^b^c^d^e"), entry + "a^b^c^d^e<\n"},
        {withParts("", "9,o,Z,,"), ""},
        {withParts("2,o,Z"),
         "error 3 updateScheduleList: schedule Id >5< dropped: a part without content >2,o,Z<\n"},
        {withParts("", "9"),
         "error 3 updateScheduleList: schedule Id >5< dropped: a part without content >9<\n"},
    };
    handle(5, withParts("2,o,Z,7"));
    const std::string before = whatOf(only());
    for (const auto& [fields, expected] : cases) {
        EXPECT_EQ(handle(5, fields), expected);
        EXPECT_EQ(whatOf(only()), before);
    }
    EXPECT_EQ(handle(6, withParts("", "9,o,Z,a=1^bad^c=d=e^f=2!5")).substr(0, 146),
              "error 3 updateScheduleList: failed to extract key value pair from >bad<\n"
              "error 3 updateScheduleList: failed to extract key value pair from >c=d=e<\n");
    EXPECT_EQ(whatOf(controller.listSchedules().back()),
              "7 9 zones Z x1 stored 0 screen  a=1 f=2 valid 5 gain 0 chime ");
}

TEST_F(SchedulesTest, AnUpdateOverwritesAllButTheValidity) {
    handle(5, withParts("2,o,A,7!2,-1,x", "9,o,B,a=1^{SCREEN}=S!5,-2,y"));
    RecordFields other = fieldsOf("other|2025:4:5|7:8|2031:7:6|22:58|1|2|0|30");
    handle(5, with(with(other, 9, "4,o,C,en^a^1^Hi,-3,z"), 10, "9,o,D,b=2^{SCREEN}=T!99,-4,w"));
    EXPECT_EQ(whenOf(only()), "2025/4/5 7:8 2031/7/6 22:58 1 2 0 30");
    EXPECT_EQ(whatOf(only()),
              "4 9 zones D x1 say en/a/1/Hi/01 stored 0 screen T b=2 valid 5 gain -4 chime w");
    handle(5, with(dates, 9, "1,o,E,3^/p"));
    EXPECT_EQ(whatOf(only()), "1 7 zones E x1 stored 3/p screen  valid 5 gain 0 chime ");
    EXPECT_EQ(only().descrption, "Morning");
}

TEST_F(SchedulesTest, TellWhatTheApplicationCallsThemAfterThePause) {
    debugLevel = 1;
    EXPECT_EQ(handle(5, dates),
              "*log 1 updateScheduleList: scheduleId >5< added to list. Total schedules >1<\n"
              "sleep 100\n*o: schedule 5 Morning\n*event 38 5\n");
    EXPECT_EQ(handle(5, dates),
              "*log 1 updateScheduleList: scheduleId=5 updated<\n"
              "sleep 100\n*o: schedule 5 Morning\n*event 38 5\n");
    debugLevel = 0;
    EXPECT_NE(handle(3, {"a~b~c"}).find("*o: schedule 3 a~b~c\n"), std::string::npos);
    EXPECT_NE(handle(4, {R"("u~\"say \\\"~\\\"\"")"}).find("schedule 4 say \"~\"\n"),
              std::string::npos);
    EXPECT_NE(handle(6, {"plain"}).find("schedule 6 plain\n"), std::string::npos);
    std::string listed;
    for (const ScheduleDefinition& schedule : controller.listSchedules()) {
        listed += std::to_string(schedule.Id) + " " + schedule.descrption + "; ";
    }
    EXPECT_EQ(listed, "5 Morning; 3 a~b~c; 4 say \"~\"; 6 plain; ");

    PAController unobserved;
    recordingHost::transcript();
    RecordList record(dates);
    unobserved.updateScheduleList(5, record.list());
    EXPECT_EQ(recordingHost::transcript(), "sleep 100\n*event 38 5\n");
    controller.updateScheduleList(5, nullptr);
    EXPECT_EQ(recordingHost::transcript(), "error 3 updateScheduleList: no record for key >5<\n");
}

TEST_F(SchedulesTest, WithdrawnDuringThePauseOrACallbackNobodyElseIsTold) {
    const auto withdraw = [this] {
        observer.inCallback = nullptr;
        controller.deleteAudioVideoControllerInfo(0, 18, 5);
    };
    recordingHost::setSleepAction([&](int) { withdraw(); });
    EXPECT_EQ(handle(5, dates), "sleep 100\n*o: schedule 5 Morning deleted\n*event 39 5\n");
    recordingHost::setSleepAction(nullptr);
    observer.inCallback = withdraw;
    EXPECT_EQ(handle(5, dates),
              "sleep 100\n*o: schedule 5 Morning\n*o: schedule 5 Morning deleted\n*event 39 5\n");
}

}  // namespace
