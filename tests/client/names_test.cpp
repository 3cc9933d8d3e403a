#include "client/names.h"

#include <gtest/gtest.h>

namespace {

using namespace paclient;

TEST(Names, ofContentAreFoundWithoutRegardToCase) {
    const std::pair<const char*, std::optional<Message::Type>> cases[] = {
        {"DICTIONARY", Message::DICTIONARY},
        {"recorded_Stream_SAF", Message::RECORDED_STREAM_SAF},
        {"NONE", std::nullopt},  // the absence of content
        {"DICT", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [name, type] : cases) {
        EXPECT_EQ(messageTypeNamed(name), type) << name;
    }
    EXPECT_EQ(nameOf(static_cast<PaSink::Type>(11)), "11");
    EXPECT_EQ(nameOf(static_cast<PaSink::Type>(-1)), "-1");
}

}  // namespace
