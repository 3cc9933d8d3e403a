// What happens in the child of fork(). Each child ends with a code for what went wrong there, 0 for
// nothing.
#include <array>
#include <atomic>
#include <condition_variable>
#include <ctime>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "framework/clock.h"
#include "framework/eventQueue.h"
#include "framework/levelMeter.h"
#include "framework/log.h"
#include "framework/posixThread.h"
#include "include/common/RecordList.h"
#include "link/ServerLink.h"
#include "link/embedded/EmbeddedTransport.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/QXReceiver.h"
#include "sdk/globals.h"

namespace {

constexpr std::chrono::minutes enough{1};

/// Lines that one thread adds and another waits for.
class Lines {
public:
    void add(const std::string& text) {
        const std::lock_guard guard(lock_);
        all_ += text + "\n";
        changed_.notify_all();
    }
    /// @return false when `text` is not added
    bool wait(const std::string& text) {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, enough,
                                 [&] { return all_.find(text + "\n") != std::string::npos; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::string all_;
};

/// The way to the server, in a process without a link.
struct Sender : pa::OperationSender {
    bool sendOperation(const pa::Operation& operation) override {
        sent.add(std::to_string(operation.type.number) + " " + operation.payload);
        return true;
    }
    Lines sent;
};

int codeOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// The code of a child that calls `inChild`, which returns it.
int codeOfChild(const std::function<int()>& inChild) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(inChild());
    }
    return codeOf(child);
}

/// The process of the test while its child is to do nothing before it forks itself, else 0.
pid_t idleParent = 0;

/// As above of a child's child: a daemon forks twice.
int codeOfGrandchild(const std::function<int()>& inChild) {
    idleParent = getpid();
    const int code = codeOfChild([&] { return codeOfChild(inChild); });
    idleParent = 0;
    return code;
}

AudioServer& facade() {
    static AudioServer& theFacade = *new AudioServer(gPaController);
    return theFacade;
}

void reportSource(int id, const std::string& lockedUUID) {
    pa::RecordList record({std::to_string(id), "", "", "", "", "", "", "", "", lockedUUID});
    gPaController.addUpdatePaSource(id, record.list());
}

void reportSink(int id, const std::string& label) {
    pa::RecordList record({std::to_string(id), "", label});
    gPaController.addUpdatePaSink(id, record.list());
}

struct ForkTest : testing::Test {
    ForkTest() {
        pa::store(gAudioServerInstance, &facade());
        pa::TimeSource source;
        source.sleepMS = [](int ms) {
            // No test waits for the worker, nor for an idle child.
            if (ms >= 9000 || (ms == 1000 && getppid() == idleParent)) {
                const timespec duration{ms / 1000, 0};
                nanosleep(&duration, nullptr);
            }
        };
        pa::setTimeSource(source);
    }
    ~ForkTest() override {
        pa::setLogSink({});
        pa::setTimeSource({});
    }
};

TEST_F(ForkTest, TheWorkerRunsAndWhatIsLoggedIsWritten) {
    reportSource(1, facade().getUUID());
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int code = codeOfChild([&] {
        dup2(ends[1], STDERR_FILENO);
        static Sender& sender = *new Sender;
        gQXReceiver.connect(sender);
        handleError(1, "a line of the child");
        const bool renewed = sender.sent.wait("7 1," + facade().getUUID());
        return renewed && pa::flushLog(enough) ? 0 : 1;
    });
    EXPECT_EQ(code, 0);
    close(ends[1]);
    std::array<char, 4096> written{};
    EXPECT_GT(read(ends[0], written.data(), written.size() - 1), 0);
    EXPECT_NE(std::string(written.data()).find("a line of the child\n"), std::string::npos);
    close(ends[0]);
    gPaController.initPaResources();
}

TEST_F(ForkTest, AnObserverMayForkInACallback) {
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
    reportSource(2, facade().getUUID());
    reportSink(1, "fork");
    if (observer.child == 0) {
        // The callback has returned; the worker needs the mutex that was held around it.
        static Sender& sender = *new Sender;
        gQXReceiver.connect(sender);
        _exit(sender.sent.wait("7 2," + facade().getUUID()) ? 0 : 1);
    }
    EXPECT_EQ(codeOf(observer.child), 0);
    EXPECT_EQ(gPaController.getPaSinks().size(), 1U);
    gPaController.initPaResources();
}

TEST_F(ForkTest, ALogSinkMayForkWhileOtherThreadsLogWithTheMutex) {
    int children = 0;
    pa::setLogSink([&](const pa::LogLine& line) {
        if (line.text == "fork") {
            children += codeOfChild([] { return 0; }) == 0 ? 1 : 0;
        }
    });
    pa::store(debugLevel, 3);
    {
        pa::PosixThread reporter("reporter", [] {
            for (int i = 0; i < 2000; ++i) {
                reportSink(1, std::to_string(i));
            }
        });
        for (int i = 0; i < 20; ++i) {
            handleError(1, "fork");
        }
    }
    pa::store(debugLevel, 0);
    EXPECT_EQ(children, 20);
    gPaController.initPaResources();
}

TEST_F(ForkTest, EveryLockIsUsableWhateverOtherThreadsDo) {
    static std::atomic<bool> ended;
    ended = false;
    pa::setLogSink([](const pa::LogLine&) {});
    const auto useAll = [] {
        handleError(1, "line");
        addNewEventItem(EventItem::PA_SINK_UPDATED, 1, nullptr);
        EventItem item;
        static_cast<void>(pa::eventQueue::next(item));
        subscribeUnsubscribeToResAmpVUMeterElement(true, 1);
        subscribeUnsubscribeToResAmpVUMeterElement(false, 1);
        facade().addCampaignLog("text");
        facade().setUploader({});
        reportSink(1, "");
        reportSink(1, "changed");
        static_cast<void>(gPaController.getSwPaTriggers());
        gQXReceiver.setMaxWait(std::chrono::seconds(5));
    };
    std::vector<std::unique_ptr<pa::PosixThread>> threads;
    for (int i = 0; i < 4; ++i) {
        threads.push_back(std::make_unique<pa::PosixThread>("user", [&] {
            while (!ended) {
                useAll();
            }
        }));
    }
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(codeOfChild([&] {
                      useAll();
                      pa::setLogSink({});
                      return 0;
                  }),
                  0);
    }
    ended = true;
    threads.clear();
    gPaController.initPaResources();
}

bool isReadable(int fd) {
    pollfd descriptor{fd, POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
}

TEST_F(ForkTest, TheEventQueueOfTheChildIsItsOwn) {
    const int fd = pa::eventQueue::fileDescriptor();
    EventItem item;
    while (pa::eventQueue::next(item)) {
    }
    addNewEventItem(EventItem::PA_SINK_UPDATED, 1, nullptr);
    const int code = codeOfChild([&] {
        const bool waits = isReadable(fd) && pa::eventQueue::next(item) && item.key == 1;
        const bool emptied = !isReadable(fd);
        addNewEventItem(EventItem::PA_SINK_UPDATED, 2, nullptr);
        const bool wakes = isReadable(fd) && pa::eventQueue::next(item) && item.key == 2;
        return waits && emptied && wakes ? 0 : 1;
    });
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(isReadable(fd)) << "the child has taken its own event";
    EXPECT_TRUE(pa::eventQueue::next(item));
    EXPECT_EQ(item.key, 1);
}

/// Connects at once, and counts what it is asked for.
struct CountingTransport : palink::Transport {
    void start(palink::ServerEventSink& sink) override {
        ++calls;
        sink.deliver(palink::Connected{});
        sink.deliver(palink::InitialSetComplete{});
    }
    void stop() override { ++calls; }
    bool send(const pa::Operation&) override {
        ++calls;
        return true;
    }
    void meterLevel(bool, int) override { ++calls; }
    bool requestRoundTrip(std::uint64_t) override {
        ++calls;
        return true;
    }
    palink::UploadResult upload(const std::string&, const std::string&) override {
        ++calls;
        return {true, ""};
    }
    std::atomic<int> calls{0};
};

TEST_F(ForkTest, ALinkOfTheParentDoesNothingAndReportsIt) {
    static Lines& errors = *new Lines;
    pa::setLogSink(
        [](const pa::LogLine& line) { errors.add(std::to_string(line.level) + line.text); });
    CountingTransport transport;
    palink::ServerLink link(facade(), transport);
    link.start();
    const int code = codeOfGrandchild([&] {
        transport.calls = 0;
        if (!errors.wait("1the server link does not work in the child of fork(): start the link "
                         "after fork()")) {
            return 1;
        }
        subscribeUnsubscribeToResAmpVUMeterElement(true, 1);
        if (facade().uploadFileToActiveServer("a", "b") == 1) {
            return 2;
        }
        link.stop();
        if (transport.calls != 0) {
            return 3;
        }
        static auto& own = *new CountingTransport;
        static auto& ownLink = *new palink::ServerLink(facade(), own);
        ownLink.start();
        return ownLink.isConnected() && facade().uploadFileToActiveServer("a", "b") == 1 ? 0 : 4;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(facade().uploadFileToActiveServer("a", "b"), 1);
    link.stop();
}

/// Has nothing and does nothing.
struct EmptyServer : palink::EmbeddedServer {
    void connectClient(palink::ServerEventSink& client) override {
        client.deliver(palink::InitialSetComplete{});
    }
    void disconnectClient() override {}
    void handleOperation(const pa::Operation&) override {}
    void meterLevel(bool, int) override {}
    palink::UploadResult storeFile(const std::string&, const std::string&) override {
        return {true, ""};
    }
};

TEST_F(ForkTest, NothingWaitsForThreadsOfTheParent) {
    std::promise<void> begun;
    std::promise<void> release;
    facade().setUploader([&](const std::string&, const std::string&) {
        begun.set_value();
        release.get_future().wait();
        return 1;
    });
    pa::PosixThread upload("upload",
                           [] { static_cast<void>(facade().uploadFileToActiveServer("a", "b")); });
    begun.get_future().wait();
    EXPECT_EQ(codeOfChild([] {
                  facade().setUploader({});  // an upload of the parent is under way
                  pa::PosixThread own("own", [] {});
                  return 0;
              }),
              0);
    release.set_value();

    EmptyServer server;
    auto transport = std::make_unique<palink::EmbeddedTransport>(server);
    palink::ServerLink link(facade(), *transport);
    link.start();
    transport->waitUntilDelivered();  // from now on its thread waits for more
    EXPECT_EQ(codeOfChild([&] {
                  link.stop();
                  transport.reset();
                  return 0;
              }),
              0);
    link.stop();
}

}  // namespace
