// SPDX-License-Identifier: Apache-2.0
#include <limits>

#include "console/arguments/words.h"
#include "console/following/LiveView.h"
#include "console/text/cleanText.h"
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
        {"\xe2\x81\xa6gpj\xe2\x81\xa9", "\\u{2066}gpj\\u{2069}"},
        {"\xff\xc3", "\\xFF\\xC3"},  // not UTF-8
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

TEST(Bar, growsFrom0To1) {
    const std::pair<double, std::size_t> cases[] = {
        {-0.6, 0}, {0.25, 10}, {1, 40}, {1.2, 40}, {std::numeric_limits<double>::quiet_NaN(), 0}};
    for (const auto& [share, length] : cases) {
        EXPECT_EQ(bar(share, 40), std::string(length, '#')) << share;
    }
}

}  // namespace
