// SPDX-License-Identifier: Apache-2.0
// An application that uses the SDK before main: the static constructor of this file runs before
// those of the SDK's own files, as the linker puts the objects of a program before its libraries.
#include <gtest/gtest.h>

#include "include/common/RecordList.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace {

struct Application : pa::PAControllerObserverAdapter {
    Application() {
        gDeviceIPAddress += " is the default";
        gPaController.registerObserver(this);
        pa::RecordList record({"1", "", "before main"});
        gPaController.addUpdatePaSink(1, record.list());
    }
    void onPaSinkUpdate(PaSink sink) override { notified |= sink.label == "before main"; }

    bool notified = false;
};

Application& application = *new Application;  // lives as long as the process

TEST(StaticConstructorTest, MayUseTheController) {
    EXPECT_TRUE(application.notified);
    EXPECT_EQ(gDeviceIPAddress, "0.0.0.0 is the default");
}

}  // namespace
