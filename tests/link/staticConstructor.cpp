// An application that uses the SDK before main: the static constructor of this file runs before
// those of the SDK's own files, as the linker puts the objects of a program before its libraries.
#include <cstdio>
#include <string>

#include "include/common/RecordList.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace {

void reportSink(int id) {
    pa::RecordList record({std::to_string(id), "", "Speaker"});
    gPaController.addUpdatePaSink(id, record.list());
}

struct Application : pa::PAControllerObserverAdapter {
    Application() {
        gDeviceIPAddress += " is the default";
        gPaController.registerObserver(this);
        reportSink(1);
    }
    void onPaSinkUpdate(PaSink sink) override { notified += std::to_string(sink.id) + " "; }

    std::string notified;
};

Application& application = *new Application;  // lives as long as the process

}  // namespace

int main() {
    reportSink(2);
    std::printf("notified of %s; %s\n", application.notified.c_str(), gDeviceIPAddress.c_str());
    return application.notified == "1 2 " && gDeviceIPAddress == "0.0.0.0 is the default" ? 0 : 1;
}
