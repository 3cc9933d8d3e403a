// The shared globals, used as the int and the pointer that they are documented as.
#include "sdk/globals.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>

#include "framework/log.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"

namespace {

template <class T>
T doubled(T value) {
    return value + value;
}

const char* kindOf(int server) {
    switch (server) {
        case 0:
            return "none";
        default:
            return "some";
    }
}

class GlobalsTest : public testing::Test {
protected:
    ~GlobalsTest() override {
        pa::store(gAudioServerInstance, nullptr);
        pa::store(gLocalDstNo, 0);
        pa::store(gIndirectCXSConnection, false);
        pa::store(gMaxServerWaitTimeSeconds, 10);
        pa::store(debugLevel, 0);
    }
};

TEST_F(GlobalsTest, NumbersAreNumbers) {
    gLocalDstNo = 7;
    gLocalDstNo += 5;
    ++gLocalDstNo;
    gLocalDstNo--;
    EXPECT_EQ(gLocalDstNo, 12);
    EXPECT_EQ(std::max(gMaxServerWaitTimeSeconds, 3), 10);
    EXPECT_EQ(std::min(20, gMaxServerWaitTimeSeconds), 10);
    EXPECT_EQ(doubled(gLocalDstNo), 24);
    EXPECT_STREQ(kindOf(gLocalDstNo), "some");
    switch (gActiveAudioServerDstNo) {
        case 0:
            break;
        default:
            ADD_FAILURE() << "a server before there is a link";
    }
    gIndirectCXSConnection = true;
    EXPECT_EQ(gIndirectCXSConnection ? gLocalDstNo : 0, 12);
    EXPECT_TRUE(!gIndirectCXSConnection || gLocalDstNo > 0);

    pa::store(debugLevel, 2);  // the worker reads it
    char text[64];
    std::snprintf(text, sizeof text, "%d %ld %d", gLocalDstNo, debugLevel, gIndirectCXSConnection);
    EXPECT_STREQ(text, "12 2 1");
    const auto server = gLocalDstNo;
    static_assert(std::is_same_v<decltype(server), const int>);
    EXPECT_EQ(pa::load(gLocalDstNo), server);
}

TEST_F(GlobalsTest, TheFacadeIsAPointer) {
    EXPECT_TRUE(gAudioServerInstance == nullptr);
    static AudioServer& audioServer = *new AudioServer(gPaController);
    pa::store(gAudioServerInstance, &audioServer);  // the worker reads it
    if (gAudioServerInstance) {
        EXPECT_EQ(gAudioServerInstance->getUUID(), audioServer.getUUID());
    }
    auto* a = gAudioServerInstance;
    AudioServer* const b = gAudioServerInstance;
    EXPECT_TRUE(a == b && &(*gAudioServerInstance).getPAController() == &gPaController);
    EXPECT_EQ(pa::load(gAudioServerInstance), &audioServer);
}

}  // namespace
