// SPDX-License-Identifier: Apache-2.0
#include "util/utf8.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

TEST(Utf8, HasOneFormForEachCharacter) {
    const std::tuple<const char*, bool, std::size_t> cases[] = {
        {"", true, 0},
        {"Lucía 駅 🚆", true, 9},
        {"\xf4\x8f\xbf\xbf", true, 1},   // the last character
        {"\xff", false, 1},              // no lead byte
        {"a\xc3", false, 2},             // cut off
        {"\xe9\xa7", false, 2},          // likewise
        {"\xc0\xaf", false, 2},          // longer than needed
        {"\xe0\x9f\xbf", false, 3},      // likewise
        {"\xed\xa0\x80", false, 3},      // half of a pair
        {"\xf4\x90\x80\x80", false, 4},  // after the last character
        {"\x80tail", false, 5},          // begins in the middle
    };
    for (const auto& [text, isValid, characters] : cases) {
        EXPECT_EQ(pautil::isUtf8(text), isValid) << text;
        EXPECT_EQ(pautil::countCharacters(text), characters) << text;
    }
    EXPECT_EQ(pautil::characterAt("a駅", 1).code, U'駅');
}

}  // namespace
