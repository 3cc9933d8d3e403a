// SPDX-License-Identifier: Apache-2.0
// What happens in the child of fork(). Each child ends with a code for what went wrong there, 0 for
// nothing.
#include <functional>
#include <list>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "framework/eventQueue.h"
#include "framework/levelMeter.h"
#include "framework/posixThread.h"
#include "framework/uuid.h"
#include "include/common/RecordList.h"
#include "link/HandlerSlot.h"
#include "tests/link/LinkTest.h"
#include "tests/support/endChild.h"

namespace {

int codeOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

/// The code of a child that calls `inChild`, which returns it.
int codeOfChild(const std::function<int()>& inChild) {
    const pid_t child = fork();
    if (child == 0) {
        endChild(inChild());
    }
    return codeOf(child);
}

/// The process of the test while its child is to do nothing before it forks itself, else 0.
pid_t idleParent = 0;

void reportSink(const std::string& label) {
    pa::RecordList record({"1", "", label});
    gPaController.addUpdatePaSink(1, record.list());
}

int upload() {
    return facade().uploadFileToActiveServer("a", "b");
}

/// The link of the parent is up, and the client holds a source lock, which the worker renews.
struct ForkTest : LinkTest {
    ForkTest() {
        pa::TimeSource source;
        source.sleepMS = [](int ms) {
            until([] { return getppid() != idleParent; });
            pause(ms);
        };
        pa::setTimeSource(source);
        server.lockHolder = facade().getUUID();
        start();
    }
    ~ForkTest() override { gPaController.initPaResources(); }
};

TEST_F(ForkTest, AnObserverMayForkAndTheDaemonWorksButForTheLinkOfItsParent) {
    struct Observer : pa::PAControllerObserverAdapter {
        void onPaSinkUpdate(PaSink sink) override {
            if (sink.label == "fork") {
                child = fork();
            }
        }
        pid_t child = -1;
    };
    static auto& observer = *new Observer;
    gPaController.registerObserver(&observer);
    const auto useOwnLink = [this] {
        handleError(1, "a line of the child");
        if (upload() == 1) {
            return 1;
        }
        ScriptedServer ownServer;
        ownServer.lockHolder = facade().getUUID();
        palink::EmbeddedTransport ownTransport(ownServer);
        palink::ServerLink own(facade(), ownTransport);
        own.start();
        link.stop();
        const bool renews = ownServer.operations(1)[0] == "1," + facade().getUUID();
        const bool works = renews && upload() == 1 && pa::flushLog(std::chrono::minutes(1));
        own.stop();
        return works ? 0 : 2;
    };
    pa::setLogSink({});
    testing::internal::CaptureStderr();
    handleError(1, "a line of the parent");
    pa::flushLog(std::chrono::minutes(1));
    idleParent = getpid();
    reportSink("fork");
    if (observer.child == 0) {
        endChild(codeOfChild(useOwnLink));  // the callback has returned; a daemon forks twice
    }
    EXPECT_EQ(codeOf(observer.child), 0);
    idleParent = 0;
    EXPECT_EQ(upload(), 1);
    const std::string lines = testing::internal::GetCapturedStderr();
    for (const std::string text : {"a line of the child\n",
                                   "the server link does not work in the child of fork(): start "
                                   "the link after fork()\n"}) {
        EXPECT_NE(lines.find(text), std::string::npos) << lines;
    }
}

TEST_F(ForkTest, EveryLockIsUsableWhateverOtherThreadsDoAndALogSinkMayFork) {
    std::atomic<bool> ended{false};
    int codes = 0;
    pa::setLogSink([&codes](const pa::LogLine& line) {
        codes += line.text == "fork" ? codeOfChild([] { return 0; }) : 0;
    });
    pa::store(debugLevel, 3);  // so that threads log with the controller's mutex
    const auto useAll = [] {
        handleError(1, "line");
        addNewEventItem(EventItem::PA_SINK_UPDATED, 1, nullptr);
        EventItem item;
        static_cast<void>(pa::eventQueue::next(item));
        subscribeUnsubscribeToResAmpVUMeterElement(true, 1);
        subscribeUnsubscribeToResAmpVUMeterElement(false, 1);
        facade().addCampaignLog("text");
        facade().setUploader({});
        reportSink("");
        reportSink("changed");
        static_cast<void>(gPaController.getSwPaTriggers());
        gQXReceiver.setMaxWait(std::chrono::seconds(5));
    };
    std::list<pa::PosixThread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back("user", [&] {
            while (!ended) {
                useAll();
            }
        });
    }
    int ofThreads = 0;
    for (int i = 0; i < 50; ++i) {
        ofThreads += codeOfChild([&] {
            useAll();
            pa::setLogSink({});
            return 0;
        });
        handleError(1, "fork");
    }
    ended = true;
    threads.clear();
    pa::store(debugLevel, 0);
    EXPECT_EQ(ofThreads, 0);
    EXPECT_EQ(codes, 0);
}

TEST_F(ForkTest, TheEventQueueAndTheLevelMetersOfTheChildAreItsOwn) {
    const auto isReadable = [] {
        pollfd descriptor{pa::eventQueue::fileDescriptor(), POLLIN, 0};
        return poll(&descriptor, 1, 0) == 1;
    };
    EventItem item;
    while (pa::eventQueue::next(item)) {
    }
    addNewEventItem(EventItem::PA_SINK_UPDATED, 1, nullptr);
    const auto isOne = [&] { return isReadable() && pa::eventQueue::next(item) && item.key == 1; };
    int switched = 0;
    pa::setLevelMeterSwitch([&switched](bool, int) { ++switched; });
    EXPECT_EQ(codeOfChild([&] {
                  subscribeUnsubscribeToResAmpVUMeterElement(true, 1);
                  return isOne() && !isReadable() ? switched : 1;
              }),
              0);
    EXPECT_TRUE(isOne()) << "the child has taken its own event";
}

// A thread has random bytes for more than one UUID.
TEST_F(ForkTest, TheChildMakesOtherUUIDsThanItsParent) {
    constexpr std::size_t size = 37;
    auto* const ofChild = static_cast<char*>(
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(ofChild, MAP_FAILED);
    std::string uuid;
    generateUUID(uuid);
    EXPECT_EQ(codeOfChild([&] {
                  generateUUID(uuid);
                  uuid.copy(ofChild, size - 1);
                  return 0;
              }),
              0);
    generateUUID(uuid);
    EXPECT_EQ(std::string(ofChild).size(), uuid.size());
    EXPECT_NE(ofChild, uuid);
    munmap(ofChild, size);
}

TEST_F(ForkTest, NothingWaitsForThreadsOfTheParent) {
    Transcript steps;
    facade().setUploader([&](const std::string&, const std::string&) {
        steps.add("upload begins");
        steps.waitFor("release");
        return 1;
    });
    pa::PosixThread uploading("upload", [] { upload(); });
    steps.waitFor("upload begins");
    transport.waitUntilDelivered();  // from now on its thread waits for more
    auto slot = std::make_unique<palink::HandlerSlot<int>>();
    slot->set([&](const int& waits) {
        if (waits != 0) {
            steps.add("handler begins");
            steps.waitFor("release");
        }
    });
    pa::PosixThread calling("call", [&] { slot->call(1); });
    steps.waitFor("handler begins");
    pa::PosixThread replacing("replace", [&] { slot->set({}); });
    until([&] { return !slot->call(0); });  // from now on it waits for the call
    EXPECT_EQ(codeOfChild([&] {
                  slot->set([](const int&) {});
                  slot->set({});
                  slot.reset();
                  facade().setUploader({});
                  auto& endless = *new std::list<pa::PosixThread>;  // with the parent's ids
                  for (int i = 0; i < 10; ++i) {
                      endless.emplace_back("endless", [] { ::pause(); });
                  }
                  link.stop();
                  std::destroy_at(&transport);
                  return 0;
              }),
              0);
    steps.add("release");
}

}  // namespace
