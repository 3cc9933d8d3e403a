// How an application composes a message.
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "sdk/AnnouncementRequest.h"

namespace {

using Items = std::vector<unsigned>;

TEST(MessageInterface, ListsInBracesAreDictionaryItems) {
    Message two;
    two.setAudioMessage({12, 40});
    two.setVisualMessage({4, 5});
    EXPECT_EQ(two.getAudioMessageDictionaryItems(), (Items{12, 40}));
    EXPECT_EQ(two.getVisualMessageDictionaryItems(), (Items{4, 5}));
    EXPECT_EQ(two.getAudioMessageType(), Message::DICTIONARY);

    Message one;
    one.setAudioMessage({0});
    one.setVisualMessage({4});
    EXPECT_EQ(one.getAudioMessageDictionaryItems(), Items{0});
    EXPECT_EQ(one.getVisualMessageDictionaryItems(), Items{4});
}

TEST(MessageInterface, TextsInBracesStayTexts) {
    const std::string path = "/s/a.wav";
    Message copied;
    copied.setAudioMessage({path});
    copied.setVisualMessage({"Platform 3"});
    EXPECT_EQ(copied.getAudioMessageAbsoluteFilePath(), path);
    EXPECT_EQ(copied.getVisualMessageText(), "Platform 3");

    Message cut;
    cut.setAudioMessage({path, 2});
    cut.setVisualMessage({"Platform 3", 8});
    EXPECT_EQ(cut.getAudioMessageAbsoluteFilePath(), "/a.wav");
    EXPECT_EQ(cut.getVisualMessageText(), "Platform");
}

TEST(MessageInterface, MovesWithoutCopying) {
    static_assert(std::is_nothrow_move_constructible_v<Message>);
    static_assert(std::is_nothrow_move_assignable_v<Message>);
    static_assert(std::is_nothrow_move_constructible_v<AnnouncementRequest>);
    static_assert(std::is_nothrow_move_assignable_v<AnnouncementRequest>);

    AnnouncementRequest first;
    first.setRequestID(std::string(100, 'r'));
    first.setAudioMessage(Items(100, 12));
    first.zones.assign(100, "Hall");
    const std::string* const zones = first.zones.data();
    AnnouncementRequest second = std::move(first);
    AnnouncementRequest third;
    third = std::move(second);
    EXPECT_EQ(third.zones.data(), zones);
    EXPECT_EQ(third.getRequestID(), std::string(100, 'r'));
    EXPECT_EQ(third.getAudioMessageDictionaryItems(), Items(100, 12));
}

}  // namespace
