// A process that ends while the controller's worker is in the middle of a pass: the sanitizers must
// find nothing, and the exit code is that of main.
#include <atomic>
#include <ctime>

#include "framework/clock.h"
#include "framework/log.h"
#include "include/common/RecordList.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/QXReceiver.h"
#include "sdk/globals.h"

namespace {

std::atomic<int> renewals{0};

/// Takes the renewals, one of which is under way at any time.
struct Sender : pa::OperationSender {
    bool sendOperation(const pa::Operation& operation) override {
        renewals += operation.type == pa::operations::renewLock ? 1 : 0;
        return true;
    }
};

}  // namespace

int main() {
    auto& audioServer = *new AudioServer(gPaController);  // lives as long as the process
    auto& sender = *new Sender;
    pa::store(gAudioServerInstance, &audioServer);
    gQXReceiver.connect(sender);
    pa::setLogSink([](const pa::LogLine&) {});
    pa::TimeSource source;
    source.sleepMS = [](int) {};  // pass after pass
    pa::setTimeSource(source);
    for (int id = 1; id <= 50; ++id) {
        pa::RecordList record(
            {std::to_string(id), "", "", "", "", "", "", "", "", audioServer.getUUID()});
        gPaController.addUpdatePaSource(id, record.list());
    }
    // The worker's first sleep began before the time source was replaced; a pass of another thread
    // takes its place until then.
    static PAController& second = *new PAController;
    pa::RecordList record({"1", "", "", "", "", "", "", "", "", audioServer.getUUID()});
    second.addUpdatePaSource(1, record.list());
    while (renewals < 100) {
        timespec tick{0, 1000000};
        nanosleep(&tick, nullptr);
    }
    return 0;
}
