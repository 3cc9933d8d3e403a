#pragma once

#include <gtest/gtest.h>
#include <string>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

/// Lets the worker of a controller make one pass.
/// @return what it does
inline std::string passOf(PAController& controller) {
    struct Stop {};
    recordingHost::host().sleepAction = [](int) { throw Stop(); };
    EXPECT_THROW(controller.threadFunction(nullptr), Stop);
    recordingHost::host().sleepAction = nullptr;
    return recordingHost::transcript();
}

/// A controller of the test's own.
struct OwnController : testing::Test {
    OwnController() { recordingHost::reset(); }

    /// Passes a record to its handler.
    /// @return the transcript
    template <void (PAController::*Handler)(int, TEVlist*)>
    std::string give(int key, const pa::RecordFields& fields) {
        pa::RecordList record(fields);
        (controller.*Handler)(key, record.list());
        return recordingHost::transcript();
    }

    PAController controller;
};

/// One that the observer "o" watches.
struct WatchedController : OwnController {
    WatchedController() { controller.registerObserver(&observer); }

    RecordingObserver observer{"o"};
};

/// The process's controller, which messages use: watched, with one voice on port 4.
struct ProcessController : testing::Test {
    ProcessController() {
        recordingHost::watchTheController();
        recordingHost::reset();
        gPaController.initPaResources();
        pa::RecordList port({"en", "anna", "48000"});
        gPaController.updateFromTTS_Ports(4, port.list());
    }
    ~ProcessController() override { gPaController.initPaResources(); }
};
