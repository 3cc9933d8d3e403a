// Schedule records: what is decoded, what is dropped, the notifications.
#include "client/recordText.h"
#include "tests/controller/fixtures.h"

namespace {

const pa::RecordFields dates = fieldsOf("uuid~Morning|2024:3:4|6:7|2030:6:5|23:59|127|15|1|-20");

pa::RecordFields withParts(const std::string& audio, const std::string& visual = "") {
    return with(with(dates, 9, audio), 10, visual);
}

template <auto... members>
std::string valuesOf(const ScheduleDefinition& schedule) {
    std::string text;
    ((text += paclient::lineText(schedule.*members) + "|"), ...);
    text.pop_back();
    return text;
}

using S = ScheduleDefinition;

/// The dates of a schedule, and how it is played.
constexpr auto whenOf =
    valuesOf<&S::startYear, &S::startMonth, &S::startDay, &S::startHour, &S::startMinute,
             &S::endYear, &S::endMonth, &S::endDay, &S::endHour, &S::endMinute, &S::dayMask,
             &S::frequency, &S::priorityMode, &S::priorityLevel>;
/// What a schedule plays, and where.
constexpr auto whatOf =
    valuesOf<&S::announcementType, &S::visualAnnouncementType, &S::paZones, &S::dictionaryItems,
             &S::repeatCnt, &S::ttsList, &S::storedDataSourceId, &S::storedDataFilePath,
             &S::displayTemplateName, &S::displayTemplateKeyValueList,
             &S::displayTemplateValidityPeriodSeconds, &S::gain, &S::chime>;

struct SchedulesTest : WatchedController {
    std::string handle(int id, const pa::RecordFields& fields) {
        return give<&PAController::updateScheduleList>(id, fields);
    }
    ScheduleDefinition last() { return controller.listSchedules().back(); }
};

TEST_F(SchedulesTest, FillUpTheirDates) {
    const std::vector<std::pair<pa::RecordFields, const char*>> cases = {
        {{}, "0|0|0|0|0|0|0|0|0|0|0|0|APM_ABSOLUTE_PRIORITY|500"},
        {fieldsOf("d|2024|7|2030:6|8|1"),
         "2024|1|1|7|0|2030|6|30|8|0|1|0|APM_ABSOLUTE_PRIORITY|500"},
        {fieldsOf("d|\"x\"|:|:|:5"), "0|1|1|0|0|0|0|30|0|5|0|0|APM_ABSOLUTE_PRIORITY|500"},
        {fieldsOf("d|\"\"|-|\"\""), "1970|1|1|0|0|2050|12|30|0|0|0|0|APM_ABSOLUTE_PRIORITY|500"},
    };
    int id = 5;
    for (const auto& [fields, expected] : cases) {
        handle(++id, fields);
        EXPECT_EQ(whenOf(last()), expected);
    }
}

// Types, zones, items, repeats, spoken texts, stored file, screen, variables, validity, gain,
// chime.
TEST_F(SchedulesTest, DecodeEachContent) {
    const std::vector<std::pair<pa::RecordFields, std::string>> cases = {
        {dates, "AT_NONE|AT_NONE|||1||0||||0|0|"},
        {withParts(R"("2,o,\"Z1\"^\"Z2\",12^x^40!3,-6.5,ding^dong")"),
         "AT_TEV|AT_NONE|Z1, Z2|12, 0, 40|3||0||||0|-6.5|ding"},
        {withParts("2,o,Z,7"), "AT_TEV|AT_NONE|Z|7|1||0||||0|0|"},
        {withParts("4,o,Z,en^anna^48000^One!de^eva^x^Two,"),
         "AT_TTS|AT_NONE|Z||1|{0|One|en|anna|48000|UTF_8}{0|Two|de|eva|0|UTF_8}|0||||0|0|"},
        {withParts("10,o,,en^a^1^One"), "AT_TTS_SAF|AT_NONE|||1|{0|One|en|a|1|UTF_8}|0||||0|0|"},
        {withParts("1,o,Z,4^/a.wav"), "AT_STORED_DATA|AT_NONE|Z||1||4|/a.wav|||0|0|"},
        {withParts("11,o,Z,4"), "AT_STORED_DATA_SAF|AT_NONE|Z||1||4||||0|0|"},
        {withParts("0,o,Z,anything"), "AT_LIVE|AT_NONE|Z||1||0||||0|0|"},
        {withParts("", "9,o,Z,b=2^a=1^{SCREEN}=Main!30,3,c"),
         "AT_NONE|AT_DISPLAY_TEMPLATE|Z||1||0||Main|a=1, b=2|30|3|c"},
        {withParts("9,o,Z,a=1"), "AT_DISPLAY_TEMPLATE|AT_NONE|Z||1||0|||a=1|0|0|"},
        {withParts("", "9,o,Z,a=1!5!6"), "AT_NONE|AT_DISPLAY_TEMPLATE|Z||1||0|||a=1|0|0|"},
        {withParts("2,o,A,7!2,-1,x", "9,o,B,a=1!5"),
         "AT_TEV|AT_DISPLAY_TEMPLATE|B|7|2||0|||a=1|5|0|"},
        {withParts("9,o,A,a=1!5", "3,o,B,b=2!6"),
         "AT_DISPLAY_TEMPLATE|AT_DISPLAY_v0|B||1||0|||a=1, b=2|6|0|"},
    };
    int id = 0;
    for (const auto& [fields, expected] : cases) {
        EXPECT_EQ(handle(++id, fields).find("error"), std::string::npos) << expected;
        EXPECT_EQ(whatOf(last()), expected);
    }
}

TEST_F(SchedulesTest, ARecordThatCannotBeReadLeavesTheListAsItIs) {
    const std::string entry =
        "error 3 updateScheduleList: schedule description >uuid~Morning< failed. insufficient TTS "
        "entry parameters >";
    const std::vector<std::pair<pa::RecordFields, std::string>> cases = {
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
    const std::string before = whatOf(last());
    for (const auto& [fields, expected] : cases) {
        EXPECT_EQ(handle(5, fields), expected);
        EXPECT_EQ(whatOf(last()), before);
    }
    EXPECT_EQ(handle(6, withParts("", "9,o,Z,a=1^bad^c=d=e^f=2!5")).substr(0, 146),
              "error 3 updateScheduleList: failed to extract key value pair from >bad<\n"
              "error 3 updateScheduleList: failed to extract key value pair from >c=d=e<\n");
    EXPECT_EQ(whatOf(last()), "AT_NONE|AT_DISPLAY_TEMPLATE|Z||1||0|||a=1, f=2|5|0|");
}

TEST_F(SchedulesTest, BadItemsHaveALineEachUpToALimit) {
    std::string items;
    for (int i = 0; i < 10; ++i) {
        items += "bad" + std::to_string(i) + "^";
    }
    const std::string transcript =
        handle(5, withParts("9,o,Z," + items + "a=1", "9,o,Z," + items + "b=2"));
    EXPECT_EQ(transcript.find(
                  "error 3 updateScheduleList: failed to extract key value pair from >bad0<\n"),
              0U);
    const std::string last =
        "from >bad5<\nerror 3 updateScheduleList: 4 more bad items of schedule Id >5<\nsleep";
    EXPECT_NE(transcript.find(last), std::string::npos) << transcript;
    EXPECT_EQ(whatOf(this->last()),
              "AT_DISPLAY_TEMPLATE|AT_DISPLAY_TEMPLATE|Z||1||0|||a=1, b=2|0|0|");
}

TEST_F(SchedulesTest, AnUpdateOverwritesAllButTheValidity) {
    handle(5, withParts("2,o,A,7!2,-1,x", "9,o,B,a=1^{SCREEN}=S!5,-2,y"));
    const pa::RecordFields other = fieldsOf("other|2025:4:5|7:8|2031:7:6|22:58|1|2|0|30");
    handle(5, with(with(other, 9, "4,o,C,en^a^1^Hi,-3,z"), 10, "9,o,D,b=2^{SCREEN}=T!99,-4,w"));
    EXPECT_EQ(paclient::linesOf(controller.listSchedules()),
              "5|other|2025|4|5|7|8|2031|7|6|22|58|1|2|D|APM_ABSOLUTE_PRIORITY|30|AT_TTS|"
              "AT_DISPLAY_TEMPLATE||1|{0|Hi|en|a|1|UTF_8}|0||T|b=2|5|-4|w\n");
    handle(5, with(dates, 9, "1,o,E,3^/p"));
    EXPECT_EQ(whatOf(last()), "AT_STORED_DATA|AT_NONE|E||1||3|/p|||5|0|");
}

TEST_F(SchedulesTest, AreKnownByWhatTheApplicationCallsThem) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"uuid~Morning", "Morning"},
        {"a~b~c", "a~b~c"},
        {R"("u~\"say \\\"~\\\"\"")", "say \"~\""},
        {"plain", "plain"},
    };
    for (const auto& [description, known] : cases) {
        EXPECT_EQ(handle(5, {description}),
                  "sleep 100\n*o: schedule 5 " + known + "\n*event 38 5\n");
        EXPECT_EQ(last().descrption, known);
    }
    PAController unobserved;
    recordingHost::transcript();
    pa::RecordList record(dates);
    unobserved.updateScheduleList(5, record.list());
    EXPECT_EQ(recordingHost::transcript(), "sleep 100\n*event 38 5\n");
}

}  // namespace
