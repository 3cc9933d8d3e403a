#include "console/ExitCode.h"
#include "console/arguments/words.h"
#include "console/text/changeText.h"
#include "console/text/cleanText.h"
#include "console/text/json.h"
#include "console/text/lookup.h"
#include "tests/console/consoleRun.h"

namespace {

using namespace console;

TEST(CleanText, leavesNothingThatATerminalObeys) {
    const std::pair<std::string, std::string> cases[] = {
        {"Platform 1", "Platform 1"},
        {"Lucía 駅 🚆", "Lucía 駅 🚆"},
        {"\x1b[31mred", "\\x1B[31mred"},
        {"a\nb\tc\rd\x7f", "a\\x0Ab\\x09c\\x0Dd\\x7F"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\xc2\x9b"
         "31m",
         "\\u{009B}31m"},  // a control sequence begun by one character
        {"\xe2\x80\xaegpj\xe2\x80\xac", "\\u{202E}gpj\\u{202C}"},  // turns the direction of writing
        {"\xff\xc3", "\\xFF\\xC3"},                                // no lead byte; cut off
        {"\xc0\xaf", "\\xC0\\xAF"},                                // longer than needed
        {"\xed\xa0\x80", "\\xED\\xA0\\x80"},                       // half of a pair
        {"\xf4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"}               // beyond the last character
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(clean(text), expected);
        EXPECT_EQ(clean(expected), expected);
    }
}

TEST(CleanText, fitsToColumnsNotBytes) {
    EXPECT_EQ(fitted("Lucía", 7), "Lucía  ");
    EXPECT_EQ(fitted("Lucía", 4), "Lucí");
    EXPECT_EQ(fitted("駅駅", 3), "駅 ");       // two columns each
    EXPECT_EQ(displayWidth("e\xcc\x81"), 1U);  // an accent on top
}

TEST(Json, replacesWhatIsNoUtf8) {
    PaZone zone;
    zone.id = "Hall \xff\xc3";
    const auto parsed = Json::parse(jsonLine(toJson(zone)));
    EXPECT_EQ(parsed["id"], "Hall \xef\xbf\xbd\xef\xbf\xbd");

    AnnouncementRequest request;
    request.completionMsg = "\xff";
    const std::string line = changeJson({Change::Kind::Update, "announcementUpdate", request});
    EXPECT_EQ(Json::parse(line)["event"], "announcementUpdate");
    EXPECT_EQ(linesOf(line).size(), 1U);
}

TEST(EditDistance, countsASwapAsOne) {
    EXPECT_EQ(editDistance("platfrom", "platform"), 1U);
    EXPECT_EQ(editDistance("", "abc"), 3U);
    EXPECT_EQ(editDistance("kitten", "sitting"), 3U);
    EXPECT_EQ(editDistance("same", "same"), 0U);
}

TEST(FindName, prefersTheExactOneAndRefusesToGuess) {
    EXPECT_EQ(findName("zone", "hall", {"Hall", "hall"}), 1U);
    EXPECT_EQ(findName("zone", "HALL", {"Lift", "Hall"}), 1U);
    for (const std::vector<std::string>& names :
         {std::vector<std::string>{"Hall", "hall"}, {"HALL", "HALL"}, {}}) {
        EXPECT_THROW(
            findName("zone", names.size() == 2 && names[0] == names[1] ? "HALL" : "hAll", names),
            Failure);
    }
}

TEST(Script, splitsWordsAsAShellDoes) {
    using Words = std::vector<std::string>;
    const std::pair<std::string, Words> cases[] = {
        {"", {}},
        {"  # only a comment", {}},
        {"play\t--zones  'Platform 1' # here", {"play", "--zones", "Platform 1"}},
        {R"(a"b c"'d e'f)", {"ab cd ef"}},
        {R"("" '')", {"", ""}},
        {R"("a\"b\\c\d" 'a\b' a\ b \#c)", {R"(a"b\c\d)", R"(a\b)", "a b", "#c"}},
        {"a#b", {"a#b"}},
    };
    for (const auto& [line, words] : cases) {
        EXPECT_EQ(splitWords(line), words) << line;
    }
    for (const char* const line : {"'open", "\"open", "open\\"}) {
        EXPECT_THROW(splitWords(line), Failure) << line;
    }
}

}  // namespace
