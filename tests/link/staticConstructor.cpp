// An application that uses the SDK before main: the static constructor of this file runs before
// those of the SDK's own files, as the linker puts the objects of a program before its libraries.
#include <cstdio>
#include <string>

#include "include/common/RecordList.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace {

void tellSink(int id) {
    pa::RecordList record({std::to_string(id), "", "Speaker"});
    gPaController.addUpdatePaSink(id, record.list());
}

struct Application : pa::PAControllerObserverAdapter {
    Application() {
        gDeviceIPAddress += " is the default";
        gPaController.registerObserver(this);
        tellSink(1);
    }
    void onPaSinkUpdate(PaSink sink) override { told += std::to_string(sink.id) + " "; }

    std::string told;
};

Application& application = *new Application;  // lives as long as the process

}  // namespace

int main() {
    tellSink(2);
    std::printf("told of %s; %s\n", application.told.c_str(), gDeviceIPAddress.c_str());
    return application.told == "1 2 " && gDeviceIPAddress == "0.0.0.0 is the default" ? 0 : 1;
}
