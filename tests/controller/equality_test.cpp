// SPDX-License-Identifier: Apache-2.0
// Two records are equal when all their members are: the members are changed one at a time.
#include <gtest/gtest.h>
#include <type_traits>

#include "client/records.h"

namespace {

template <class Value>
void change(Value& value) {
    if constexpr (std::is_same_v<Value, bool>) {
        value = !value;
    } else if constexpr (std::is_arithmetic_v<Value> || std::is_enum_v<Value>) {
        value = static_cast<Value>(value + 1);
    } else {
        value.resize(value.size() + 1);
    }
}
void change(Gain& value) {
    value.setLevel(value.getLevel() + 0.5);
}
void change(PaTrigger& value) {
    ++value.id;
}
void change(std::map<std::string, std::string>& value) {
    value[""];
}

template <class Record>
void expectEveryMemberCounts() {
    const Record plain;
    Record changed;
    paclient::forEachMember(changed, [&](const paclient::MemberInfo& member, auto&& value) {
        if constexpr (std::is_lvalue_reference_v<decltype(value)>) {  // else what a getter returns
            const auto before = value;
            change(value);
            EXPECT_TRUE(plain != changed && !(plain == changed)) << member.name;
            value = before;
            EXPECT_TRUE(plain == changed && !(plain != changed)) << member.name;
        }
    });
}

template <class... Records>
void expectEveryMemberOfEachCounts() {
    (expectEveryMemberCounts<Records>(), ...);
}

TEST(EqualityTest, ComparesEveryMember) {
    expectEveryMemberOfEachCounts<PaSource, PaSourceLockStatus, PaSink, PaZone, PaTrigger,
                                  PaSWTrigger, PaSelector, TTSVocalizer, TTSDictionary,
                                  ScheduleDefinition, AnnouncementRequest>();
}

TEST(EqualityTest, ComparesWhatIsReachedByGettersOnly) {
    AnnouncementRequest named;
    named.setRequestID("request");
    EXPECT_NE(named, AnnouncementRequest());
    PaSelector zoned;
    zoned.paZoneList[1] = "Hall";
    EXPECT_NE(zoned, PaSelector());
    EXPECT_NE(DISPLAY_VALUE_INFO("text", 1), DISPLAY_VALUE_INFO("text", 2));
}

}  // namespace
