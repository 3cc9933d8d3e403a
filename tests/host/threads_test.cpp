// Threads, mutex, UUIDs and the facade.
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <regex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "framework/localMutex.h"
#include "framework/log.h"
#include "framework/posixThread.h"
#include "framework/threadAnnotations.h"
#include "framework/threadClass.h"
#include "framework/uuid.h"
#include "sdk/AudioServer.h"

namespace {

struct Worker : threadClass {
    int threadFunction(void* argument) override {
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        static_cast<std::promise<void>*>(argument)->set_value();
        return 0;
    }
    sigset_t mask{};
};

TEST(ThreadClassTest, RunsOnceWithTheApplicationsSignalsBlocked) {
    static auto& worker = *new Worker;  // outlives its thread
    std::promise<void> ran;
    worker.start(&ran);
    ran.get_future().wait();
    for (const int signal : {SIGINT, SIGTERM, SIGALRM, SIGUSR1}) {
        EXPECT_EQ(sigismember(&worker.mask, signal), 1) << signal;
    }
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGINT), 0) << "the creator keeps its mask";
}

TEST(PosixThreadTest, TheSignalsOfFaultsReachTheApplicationsHandler) {
    static thread_local int handled;
    const std::vector<int> faults{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS};
    std::map<int, struct sigaction> before;
    for (const int fault : faults) {
        struct sigaction action {};
        action.sa_handler = [](int signal) { handled = signal; };
        sigaction(fault, &action, &before[fault]);
    }
    std::vector<int> reached;
    {
        pa::PosixThread thread("faulty", [&] {
            for (const int fault : faults) {
                raise(fault);
                reached.push_back(handled);
            }
        });
    }
    for (const int fault : faults) {
        sigaction(fault, &before[fault], nullptr);
    }
    EXPECT_EQ(reached, faults);
}

/// Enters twice, and lets another thread do what it must not. Not analysed: the compiler would
/// refuse it, rightly.
void misuse(qxLocalMutex& mutex) PASDK_NO_THREAD_SAFETY_ANALYSIS {
    EXPECT_FALSE(mutex.heldByThisThread());
    std::unique_lock outer(mutex);
    {
        const std::lock_guard inner(mutex);
        mutex.assertLocked("here");
    }
    EXPECT_TRUE(mutex.heldByThisThread());
    std::atomic<bool> entered{false};
    {
        pa::PosixThread other("other", [&]() PASDK_NO_THREAD_SAFETY_ANALYSIS {
            mutex.assertLocked("other");
            mutex.leave();  // not its own
            EXPECT_FALSE(mutex.heldByThisThread());
            mutex.enter();
            entered = true;
            mutex.leave();
        });
        EXPECT_FALSE(entered);
        outer.unlock();
    }
    EXPECT_TRUE(entered);
    EXPECT_FALSE(mutex.heldByThisThread());
    mutex.assertLocked("there");
}

TEST(LocalMutexTest, ItsHolderMayEnterItAgainAndOthersWait) {
    qxLocalMutex mutex(true);
    std::string errors;
    pa::setLogSink([&errors](const pa::LogLine& line) { errors += line.text + "\n"; });
    EXPECT_EQ(mutex.init(), 0);
    misuse(mutex);
    pa::setLogSink({});
    EXPECT_EQ(errors,
              "other: called without the mutex\nleave: the mutex is not held by this thread\n"
              "there: called without the mutex\n");
}

TEST(LocalMutexTest, GoesToTheOneThatWaitsNotToTheOneThatComesBack) {
    qxLocalMutex mutex(true);
    constexpr int rounds = 50;
    int waiterFirst = 0;
    for (int i = 0; i < rounds; ++i) {
        std::atomic<bool> comes{false};
        std::atomic<bool> entered{false};
        mutex.lock();
        pa::PosixThread waiter("waiter", [&] {
            comes = true;
            const std::lock_guard guard(mutex);
            entered = true;
        });
        while (!comes) {
            std::this_thread::yield();
        }
        for (int tries = 0; tries < 1000; ++tries) {
            std::this_thread::yield();  // it waits by now, but for a few of the rounds
        }
        mutex.unlock();
        const std::lock_guard guard(mutex);
        waiterFirst += entered ? 1 : 0;
    }
    EXPECT_GT(waiterFirst, rounds / 2);
}

TEST(UuidTest, IsVersionFourAndNew) {
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        std::string uuid = "left over";
        generateUUID(uuid);
        EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(AudioServerTest, UploadsThroughTheLinkAndKeepsABoundedLog) {
    int standIn = 0;  // the facade only hands the controller on
    auto& controller = reinterpret_cast<PAController&>(standIn);
    AudioServer server(controller);
    std::string errors;
    pa::setLogSink([&errors](const pa::LogLine& line) { errors += line.text + "\n"; });
    EXPECT_NE(server.uploadFileToActiveServer("a", "b"), 1);
    server.setUploader([](const std::string& local, const std::string& remote) {
        return local == "a" && remote == "b" ? 1 : 2;
    });
    EXPECT_EQ(server.uploadFileToActiveServer("a", "b"), 1);
    server.setUploader([](const std::string&, const std::string&) -> int {
        throw std::runtime_error("disk on fire");
    });
    EXPECT_NE(server.uploadFileToActiveServer("a", "b"), 1);
    pa::setLogSink({});
    EXPECT_EQ(errors, "upload of a: no connection to the server\nupload of a: disk on fire\n");

    EXPECT_EQ(&server.getPAController(), &controller);
    EXPECT_EQ(server.getUUID(), server.getUUID());
    EXPECT_NE(server.getUUID(), AudioServer(controller).getUUID());
    for (std::size_t i = 0; i <= AudioServer::campaignLogCapacity; ++i) {
        server.addCampaignLog(std::to_string(i));
    }
    EXPECT_EQ(server.getCampaignLog().size(), AudioServer::campaignLogCapacity);
    EXPECT_EQ(server.getCampaignLog().front(), "1");
}

/// A state that several threads wait for and change.
struct Shared {
    template <class Change>
    void change(Change change) {
        const std::lock_guard guard(lock);
        change();
        changed.notify_all();
    }
    template <class Condition>
    void wait(Condition condition) {
        std::unique_lock guard(lock);
        changed.wait(guard, condition);
    }

    std::mutex lock;
    std::condition_variable changed;
};

TEST(AudioServerTest, TheWayOfUploadsEndsWhileUploadsOfSeveralThreadsOverlap) {
    constexpr int forEver = 100'000;
    int standIn = 0;
    AudioServer server(reinterpret_cast<PAController&>(standIn));
    pa::setLogSink([](const pa::LogLine&) {});
    Shared shared;
    int begun = 0;
    bool refused = false;
    // An upload ends when the next one has begun: one is in progress at any time.
    server.setUploader([&](const std::string&, const std::string&) {
        int number = 0;
        shared.change([&] { number = ++begun; });
        shared.wait([&] { return begun > number || refused || number >= forEver; });
        return number < forEver ? 1 : 0;
    });
    const auto uploadAgainAndAgain = [&] {
        while (server.uploadFileToActiveServer("a", "b") == 1) {
        }
        shared.change([&] { refused = true; });
    };
    {
        pa::PosixThread one("one", uploadAgainAndAgain);
        pa::PosixThread other("other", uploadAgainAndAgain);
        shared.wait([&] { return begun >= 10; });
        server.setUploader({});
        shared.change([&] { EXPECT_LT(begun, forEver); });
    }
    pa::setLogSink({});
}

TEST(AudioServerTest, ANewWayServesAtOnceAndTheOneBeforeIsWaitedFor) {
    int standIn = 0;
    AudioServer server(reinterpret_cast<PAController&>(standIn));
    Shared shared;
    bool first = true;
    bool underWay = false;
    bool released = false;
    bool replaced = false;
    server.setUploader([&](const std::string&, const std::string&) {
        if (std::exchange(first, false)) {
            shared.change([&] { underWay = true; });
            shared.wait([&] { return released; });
        }
        return 1;
    });
    pa::PosixThread slow("slow",
                         [&] { static_cast<void>(server.uploadFileToActiveServer("a", "b")); });
    shared.wait([&] { return underWay; });
    pa::PosixThread replacing("replacing", [&] {
        server.setUploader([&](const std::string&, const std::string&) {
            shared.change([&] {
                EXPECT_FALSE(replaced);
                released = true;
            });
            return 5;
        });
        shared.change([&] {
            EXPECT_TRUE(released);
            replaced = true;
        });
    });
    while (server.uploadFileToActiveServer("a", "b") != 5) {
    }
}

}  // namespace
