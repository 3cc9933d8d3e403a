// SPDX-License-Identifier: Apache-2.0
#include "client/find.h"

#include "tests/support/tables.h"

namespace {

using namespace paclient;

/// The place that is found, or the text of the refusal.
std::string found(const std::string& kind, const std::string& wanted,
                  const std::vector<Naming>& resources) {
    try {
        return std::to_string(findNamed(kind, wanted, resources));
    } catch (const LookupError& error) {
        return error.what();
    }
}

TEST(Find, PrefersNumbersThenExactNamesThenBeginnings) {
    const std::vector<Naming> sources = {{"2", "Desk"},       {"10", "desk"},      {"3", "10"},
                                         {"7", "Lift lobby"}, {"8", "Lift shaft"}, {"9", ""},
                                         {"101", "Gate 12"},  {"102", "12"},       {"103", "12"}};
    expectTable([&](const std::string& wanted) { return found("source", wanted, sources); });
}

TEST(Find, AnswersWhatHasNumbersOnlyOrNamesOnly) {
    EXPECT_EQ(found("schedule", "x", {{"4", ""}, {"5", ""}}),
              "there is no schedule 'x'; did you mean '4', '5'?");
    EXPECT_EQ(found("zone", "7", {{"", "Hall 7"}}),
              "there is no zone '7'; the nearest are 'Hall 7'");
    EXPECT_EQ(found("zone", "", {{"", "Hall"}}), "there is no zone ''; the nearest are 'Hall'");
    EXPECT_EQ(found("sink", "", {{"2", ""}}), "there is no sink ''; did you mean '2'?");
    EXPECT_TRUE(knowsName("HALL", {"Lift", "Hall"}));
    EXPECT_FALSE(knowsName("HALL", {"hall", "Hall"}));
    std::vector<Naming> lifts(12, {"7", "Lift"});
    lifts[9].number = "9";  // ten are named
    const std::string text = found("sink", "lift", lifts);
    EXPECT_EQ(text.substr(text.size() - 30), "7 'Lift', 9 'Lift', and 2 more") << text;
}

// Quadratic in the length of the name this would take hours.
TEST(Find, IsBoundedForNamesWithoutLimit) {
    const std::string endless(4'000'000, 'x');
    const std::vector<Naming> zones(5, {"", endless + "y"});
    EXPECT_EQ(found("zone", endless + "z", zones), "there is no zone '" + std::string(57, 'x') +
                                                       "...'; did you mean '" +
                                                       std::string(57, 'x') + "...'?");
    EXPECT_EQ(found("zone", std::string(56, 'x') + "äöüäöü", {}),
              "there is no zone '" + std::string(56, 'x') + "ä...'; there is none at all");
}

}  // namespace
