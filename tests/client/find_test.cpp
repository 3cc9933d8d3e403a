#include "client/find.h"

#include <gtest/gtest.h>

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
    const std::pair<const char*, const char*> cases[] = {
        {"10", "1"},    // not the label of source 3
        {"Desk", "0"},  // exact before another case
        {"desk", "1"},
        {"DESK", "'DESK' is ambiguous: it names 2 of the sources: 2 'Desk', 10 'desk'"},
        {"LIFT L", "3"},
        {"lift", "'lift' is ambiguous: it names 2 of the sources: 7 'Lift lobby', 8 'Lift shaft'"},
        {"gate", "6"},
        {"Gate 1", "there is no source 'Gate 1'; did you mean 'Gate 12'?"},  // cuts a number
        {"12", "'12' is ambiguous: it names 2 of the sources: 102 '12', 103 '12'"},
        {"1", "there is no source '1'; the nearest are 2, 3, 7"},  // begins numbers and names
        {"99999999999999999999",
         "there is no source '99999999999999999999'; the nearest are 103, 102, 101"},
        {"edks", "there is no source 'edks'; did you mean 'Desk', 'desk'?"},
    };
    for (const auto& [wanted, expected] : cases) {
        EXPECT_EQ(found("source", wanted, sources), expected) << wanted;
    }
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
