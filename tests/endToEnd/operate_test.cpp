// What an operator does, on its whole way: locks that the worker keeps alive, live zones, spoken
// previews.
#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>
#include <sndfile.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/endToEnd/EndToEndFixture.h"

namespace {

using namespace std::chrono_literals;

constexpr int desk = 103;
constexpr int workerPauseMS = 9000;

/// Time that a test lets pass. The worker of the process sleeps as ever; a test makes passes of its
/// own.
namespace hand {

std::atomic<std::int64_t> passedMS{0};
thread_local bool drivesPasses = false;
struct PassOver {};

void sleep(int ms) {
    if (ms < workerPauseMS) {
        std::this_thread::yield();  // a poll or a pause
    } else if (std::exchange(drivesPasses, false)) {
        throw PassOver();
    } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    }
}

void makePass() {
    drivesPasses = true;
    EXPECT_THROW(gPaController.threadFunction(nullptr), PassOver);
}

}  // namespace hand

/// Keeps what the controller notifies of previews and announcements.
struct Watch : pa::PAControllerObserverAdapter {
    void onAudioMessageRetrievalComplete(const std::string& id, bool success,
                                         MessageRetrievalError error,
                                         const std::string& uri) override {
        const std::lock_guard guard(lock);
        notified += id + (success ? " done; " : " failed " + std::to_string(error) + "; ");
        lastUri = uri;
    }
    void onMessageUpdate(AnnouncementRequest request) override {
        const std::lock_guard guard(lock);
        if (request.getAudioMessageType() == Message::LIVE_STREAM && !request.zones.empty()) {
            notified += "live " + request.stateText + " in " + request.zones.front() + "; ";
        }
    }
    void onPaSinkUpdate(PaSink /*sink*/) override {
        if (const auto action = std::exchange(inSinkUpdate, nullptr); action != nullptr) {
            action();
        }
    }
    std::string take() {
        const std::lock_guard guard(lock);
        return std::exchange(notified, {});
    }

    std::mutex lock;
    std::string notified;
    std::string lastUri;
    void (*inSinkUpdate)() = nullptr;
};

Watch& watch() {
    return registered<Watch>();
}

simserver::Station station() {
    simserver::Station station;
    station.name = "Test";
    station.zones = {{"Hall", 1}, {"Yard", 1}};
    station.sinks.resize(1);
    station.sinks[0].id = 7;
    station.sinks[0].type = 1;
    station.sinks[0].zones = {"Hall"};
    station.sources.resize(1);
    station.sources[0].id = desk;
    station.sources[0].type = 2;
    station.voices = {{4, "en", "anna", 48000, "", "en"}, {5, "en", "mute", 48000, "", "no-voice"}};
    station.longestPreview = 5;
    return station;
}

struct OperateTest : EndToEndFixture {
    OperateTest() : EndToEndFixture(station()) {
        pa::TimeSource time;
        time.wallClock = [] { return static_cast<std::time_t>(1'000'000 + hand::passedMS / 1000); };
        time.monotonicMS = [] { return hand::passedMS.load(); };
        time.sleepMS = hand::sleep;
        pa::setTimeSource(time);
        watch().take();
        connect();
    }

    /// Until the server has done what was sent before: operations are done in order.
    void settle() {
        monitored = !monitored;
        gPaController.getPaSinks().at(0).setPAMonitoring(monitored);
        while (gPaController.getPaSinks().at(0).monitoringEnabled != monitored) {
            std::this_thread::yield();
        }
        link.waitUntilHandled();
    }

    /// So much time, in which the worker makes its passes.
    void pass(int ms) {
        for (; ms > 0; ms -= workerPauseMS) {
            hand::passedMS += std::min(ms, workerPauseMS);
            hand::makePass();
            settle();
            server.advance(0ms);
        }
        advance(0ms);
    }

    static std::string holder() { return gPaController.getPaSourceLocks().at(0).lockedUUID; }

    static Message spoken(const std::string& id, const std::string& voice,
                          const std::string& text) {
        Message message;
        message.setRequestID(id);
        message.setAudioMessage(text, "en", voice, Message::UTF_8);
        return message;
    }

    bool monitored = false;
};

TEST_F(OperateTest, ALockIsHeldWhileItIsRenewedAndThenAnothersToTake) {
    const pa::Operation others{-1, pa::operations::attachSource, 1,
                               std::to_string(desk) + ",other-client"};
    ASSERT_TRUE(gPaController.attachPaSource(desk));
    pass(63'000);
    EXPECT_EQ(holder(), audioServer().getUUID()) << "a minute later";
    EXPECT_TRUE(server.operateAsOther(others)) << "a second client is refused";

    server.ignoreRenewals(true);
    pass(27'000);
    EXPECT_EQ(holder(), audioServer().getUUID());
    pass(9'000);
    EXPECT_EQ(holder(), "") << "lapsed";
    EXPECT_FALSE(server.operateAsOther(others));
    settle();
    EXPECT_EQ(holder(), "other-client");
    EXPECT_FALSE(gPaController.attachPaSource(desk));
    EXPECT_FALSE(gPaController.detachPaSource(desk));
}

TEST_F(OperateTest, ALockedSourceIsLiveInItsZones) {
    const PaSource source = gPaController.getPaSources().at(0);
    ASSERT_TRUE(gPaController.attachPaSource(desk));
    source.attachPaZone("Hall", PaSource::REPLACE_EXISTING_SET);
    settle();
    EXPECT_EQ(source.getAttachedPaZones(), std::vector<std::string>{"Hall"});
    EXPECT_EQ(gPaController.getPaZones().at(0).activity, 1);
    EXPECT_EQ(gPaController.getPaSinks().at(0).state, PaSink::ACTIVE);
    EXPECT_EQ(watch().take(), "live Queued in Hall; live Playing in Hall; ");
    ASSERT_TRUE(gPaController.detachPaSource(desk));
    settle();
    EXPECT_EQ(gPaController.getPaZones().at(0).activity, 0);
    EXPECT_EQ(gPaController.getPaSinks().at(0).state, PaSink::IDLE);
}

TEST_F(OperateTest, PreviewsOfOneTextAreAnsweredAtOnceWithItsAudio) {
    // Both are asked for before any answer can be handled: the mutex is held in a callback.
    watch().inSinkUpdate = [] {
        spoken("preview-1", "anna", "Mind the \"gap\"").retrieveAudioMessage();
        spoken("preview-2", "anna", "Mind the \"gap\"").retrieveAudioMessage();
    };
    settle();
    settle();  // the requests came after the first one
    server.waitUntilSpoken();
    settle();
    const TTSDictionary item = gPaController.getTTSDictionaryList().at(0);
    const std::string notified = watch().take();  // the server may report its item once more
    EXPECT_EQ(notified.find("preview-2 done; "), 0U) << notified;
    EXPECT_EQ(notified.find("preview-1"), std::string::npos) << notified;
    EXPECT_EQ(item.text, "Mind the \"gap\"");
    ASSERT_EQ(item.uri.substr(0, 7), "file://");
    const std::string file = item.uri.substr(7);
    EXPECT_EQ(item.size, std::to_string(std::filesystem::file_size(file)));
    SF_INFO info{};
    SNDFILE* const sound = sf_open(file.c_str(), SFM_READ, &info);
    ASSERT_NE(sound, nullptr);
    sf_close(sound);
    EXPECT_EQ(info.samplerate, 48000);
    EXPECT_EQ(info.channels, 1);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    EXPECT_GT(info.frames, 24000) << "it takes half a second at least to say so";
    pass(90'000);
    EXPECT_EQ(watch().take(), "") << "nothing waits any more";
}

TEST_F(OperateTest, WhatCannotBeSpokenFailsAndWhatIsNotAnsweredIsGivenUp) {
    spoken("no-voice", "mute", "Hello").retrieveAudioMessage();
    settle();
    server.waitUntilSpoken();
    settle();
    EXPECT_EQ(watch().take(), "no-voice failed 2; ");

    std::string endless;
    for (int i = 0; i < 60; ++i) {
        endless += "and so on, ";
    }
    spoken("too-long", "anna", endless).retrieveAudioMessage();
    settle();
    server.waitUntilSpoken();
    settle();
    EXPECT_EQ(watch().take(), "too-long failed 2; ");
    pass(89'000);
    EXPECT_EQ(watch().take(), "");
    pass(1'000);
    EXPECT_EQ(watch().take(), "no-voice failed 1; too-long failed 1; ");
}

}  // namespace
