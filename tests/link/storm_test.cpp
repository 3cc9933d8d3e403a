// What the caches hold after a storm is compared with what one thread makes of it.
#include "tests/link/storm.h"

#include <gtest/gtest.h>
#include <memory>

#include "framework/log.h"
#include "framework/posixThread.h"
#include "sdk/AudioServer.h"
#include "sdk/globals.h"

namespace {

using namespace storm;

/// Takes every operation.
struct Sender : pa::OperationSender, pa::DropListener {
    bool sendOperation(const pa::Operation& /*operation*/) override { return true; }
    void operationDropped(const pa::DroppedOperation& /*dropped*/) override {}
};

TEST(StormTest, TheCachesAreThoseOfOneThread) {
    // These live as long as the process.
    static auto& audioServer = *new AudioServer(gPaController);
    static auto& observer = *new ReentrantObserver;
    static auto& sender = *new Sender;
    begin();
    pa::store(gAudioServerInstance, &audioServer);
    pa::store(gLocalDstNo, server);
    pa::store(gActiveAudioServerDstNo, server);
    gPaController.registerObserver(&observer);
    gPaController.initPaResources();
    gQXReceiver.open(sender);
    gQXReceiver.connect(sender);
    palink::Router router(gPaController);
    const std::vector<Event> stream = makeStream(20'000, audioServer.getUUID());
    std::atomic<bool> over{false};
    std::atomic<int> rounds{0};
    std::vector<std::unique_ptr<pa::PosixThread>> threads;
    for (int i = 0; i < 8; ++i) {
        threads.push_back(std::make_unique<pa::PosixThread>("test", [&] {
            while (!over) {
                useController(rounds++);
            }
        }));
    }
    for (const Event& event : stream) {
        deliver(router, event);
    }
    router.waitUntilIdle();
    over = true;
    threads.clear();
    EXPECT_GT(rounds, 8);

    PAController& sequential = *new PAController;  // its worker never ends
    palink::Router inTurn(sequential);
    for (const Event& event : stream) {
        deliver(inTurn, event);
        inTurn.waitUntilIdle();
    }
    EXPECT_EQ(cachesOf(gPaController), cachesOf(sequential));
    for (const std::string& cache : cachesOf(sequential)) {
        EXPECT_NE(cache, "");
    }
    gQXReceiver.abandon();
    storm::end();
}

}  // namespace
