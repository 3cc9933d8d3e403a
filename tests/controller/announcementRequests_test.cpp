// How the content of an announcement request is read.
#include "client/recordText.h"
#include "tests/controller/fixtures.h"

namespace {

struct AnnouncementRequestsTest : WatchedController {
    std::string handle(int key, const pa::RecordFields& fields) {
        return give<&PAController::addUpdateAnnouncementRequest>(key, fields);
    }
    std::string requests() { return paclient::linesOf(controller.getAnnouncementRequests()); }
};

TEST_F(AnnouncementRequestsTest, TakesTheTypeAsTheTable) {
    // Audio and visual type, none when such a request is not tracked.
    const std::pair<const char*, const char*> cases[] = {
        {"0,x,Z", "0/7"},
        {"1,x,Z", "1/7"},
        {"2,x,Z", "2/7"},
        {"3,x,Z", "7/7"},
        {"4,x,Z", "4/7"},
        {"5,x,Z", "5/7"},
        {"6,x,Z", ""},
        {"7,x,Z", ""},
        {"8,x,Z", ""},
        {"9,x,Z", "7/9"},
        {"10,x,Z", "10/7"},
        {"11,x,Z", "11/7"},
        {"12,x,Z", "7/7"},
        {"-1,x,Z", "7/7"},
        {"words", "0/7"},
        {"\"\"", ""},
        {R"("9,x,Z,\"{\\\"Validity\\\":0}\"")", ""},
        {R"("9,x,Z,\"{\\\"validity\\\":30}\"")", "7/9"},
        {R"("2,x,Z,\"{\\\"validity\\\":0}\"")", "2/7"}};
    for (const auto& [content, expected] : cases) {
        controller.initPaResources();
        handle(6, with({"r"}, 9, content));
        std::string types;
        for (const AnnouncementRequest& request : controller.getAnnouncementRequests()) {
            types += std::to_string(request.getAudioMessageType()) + "/" +
                     std::to_string(request.getVisualMessageType());
        }
        EXPECT_EQ(types, expected) << content;
    }
}

TEST_F(AnnouncementRequestsTest, AnUpdateStartsFromWhatIsKnown) {
    handle(6, fieldsOf("r|-|-|-|-|Queued|-|-|-|2,x,A^B,1!1"));
    EXPECT_EQ(handle(6, with(only(5, "(null)"), 18, "0")), "*o: message r Queued\n");
    EXPECT_EQ(requests(), "6|r|DICTIONARY|NONE|Queued||2,x,A^B,1!1||A, B|0|\n");
    handle(6, only(9, "9,x,C"));
    EXPECT_EQ(requests(), "6|r|NONE|DISPLAY_TEMPLATE|Queued||9,x,C||C|0|\n");
    EXPECT_EQ(handle(6, with(only(5, "Lost"), 9, "7,x,D")), "");
    EXPECT_EQ(requests(), "6|r|NONE|DISPLAY_TEMPLATE|Queued||9,x,C||C|0|\n")
        << "one that is not tracked";
}

}  // namespace
