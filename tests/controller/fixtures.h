// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

#include "framework/fieldEncoding.h"
#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

using recordingHost::host;
using recordingHost::transcript;

/// Passes a record to its handler.
/// @return the transcript
template <void (PAController::*Handler)(int, TEVlist*)>
std::string give(int key, const pa::RecordFields& fields) {
    pa::RecordList record(fields);
    (gPaController.*Handler)(key, record.list());
    return transcript();
}
inline constexpr auto& giveSource = give<&PAController::addUpdatePaSource>;
inline constexpr auto& giveSink = give<&PAController::addUpdatePaSink>;
inline constexpr auto& giveTrigger = give<&PAController::addUpdatePaTrigger>;
inline constexpr auto& giveSelector = give<&PAController::addUpdatePaSelector>;
inline constexpr auto& giveAttachedZones = give<&PAController::addUpdateAttachedPaZone>;
inline constexpr auto& giveRequest = give<&PAController::addUpdateAnnouncementRequest>;
inline constexpr auto& giveSchedule = give<&PAController::updateScheduleList>;
inline constexpr auto& givePort = give<&PAController::updateFromTTS_Ports>;
inline constexpr auto& giveItem = give<&PAController::updateFromTTS_Dictionary>;

/// The process's controller with empty caches, watched by the observer "o".
struct ControllerTest : testing::Test {
    ControllerTest() {
        gPaController.registerObserver(&observer);  // each is registered once
        observer.inCallback = nullptr;
        gPaController.initPaResources();
        recordingHost::reset();
    }

    PAController& controller = gPaController;
    // Never destroyed, like the controller.
    inline static RecordingObserver& observer = *new RecordingObserver("o");
};

/// With the voice "anna" on port 4, and one at another rate on port 5.
struct VoicesTest : ControllerTest {
    VoicesTest() {
        givePort(4, {"en", "anna", "48000"});
        givePort(5, {"en", "slow", "22050"});
    }
};

/// Lets the worker of the controller make its passes.
/// @return what it does
inline std::string passes(int count = 1) {
    struct Stop {};
    host().sleepAction = [&count](int) {
        if (--count == 0) {
            throw Stop();
        }
    };
    EXPECT_THROW(gPaController.threadFunction(nullptr), Stop);
    host().sleepAction = nullptr;
    return transcript();
}

/// Calls `action` during the second poll for an answer of the server, from now on.
inline void inSecondPoll(const std::function<void()>& action) {
    host().sleepAction = [action, polls = 0](int ms) mutable {
        if (ms == 50 && ++polls == 2) {
            action();
        }
    };
}

/// Lets a second pass in each sleep, from now on.
inline void letTimePass(const std::function<void()>& meanwhile = [] {}) {
    host().sleepAction = [meanwhile](int) {
        meanwhile();
        ++host().now;
    };
}

/// "accepted", or the kind and the text of the exception that `call` throws.
template <class Call>
std::string outcome(Call call) {
    try {
        static_cast<void>(call());
    } catch (const std::invalid_argument& e) {
        return std::string("invalid_argument ") + e.what();
    } catch (const std::out_of_range& e) {
        return std::string("out_of_range ") + e.what();
    }
    return "accepted";
}

/// A text in the encoding of the link.
inline std::string quoted(std::string text) {
    prepareElemStringFieldForSvr(text);
    return text;
}
