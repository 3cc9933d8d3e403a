// SPDX-License-Identifier: Apache-2.0
// Threads, mutex, UUIDs and the facade.
#include <csignal>
#include <regex>
#include <set>
#include <stdexcept>

#include "framework/localMutex.h"
#include "framework/posixThread.h"
#include "framework/threadAnnotations.h"
#include "framework/uuid.h"
#include "sdk/AudioServer.h"
#include "tests/host/HostTest.h"

namespace {

TEST(PosixThreadTest, BlocksTheSignalsOfTheApplicationButNotThoseOfFaults) {
    sigset_t mask{};
    {
        pa::PosixThread thread("thread", [&] { pthread_sigmask(SIG_SETMASK, nullptr, &mask); });
    }
    for (const int signal : {SIGINT, SIGTERM, SIGALRM, SIGUSR1, SIGPIPE}) {
        EXPECT_EQ(sigismember(&mask, signal), 1) << signal;
    }
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS}) {
        EXPECT_EQ(sigismember(&mask, signal), 0) << signal;
    }
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGINT), 0) << "the creator keeps its mask";
}

struct LocalMutexTest : HostTest {
    /// Does what it must not. Not analysed: the compiler would refuse it, rightly.
    void misuse() PASDK_NO_THREAD_SAFETY_ANALYSIS {
        mutex.assertLocked("here");
        mutex.leave();
        log.add("enters; ");
        mutex.enter();
        log.add("entered");
        mutex.leave();
    }
    qxLocalMutex mutex{true};
};

TEST_F(LocalMutexTest, ItsHolderMayEnterItAgainAndItPassesToTheOneThatWaits) {
    const std::string tried =
        "E1 here: called without the mutex\n"
        "E1 leave: the mutex is not held by this thread\nenters; ";
    constexpr int rounds = 50;
    int waiterFirst = 0;
    EXPECT_EQ(mutex.init(), 0);
    for (int i = 0; i < rounds; ++i) {
        log.take();
        std::unique_lock outer(mutex);
        pa::PosixThread other("other", [this] { misuse(); });
        log.waitFor("enters; ");
        { const std::lock_guard inner(mutex); }
        for (int tries = 0; tries < 1000; ++tries) {
            std::this_thread::yield();  // it waits then, but for a few of the rounds
        }
        EXPECT_EQ(log.text(), tried);
        outer.unlock();
        outer.lock();
        mutex.assertLocked("there");
        waiterFirst += log.text() == tried + "entered" ? 1 : 0;
        outer.unlock();
    }
    EXPECT_GT(waiterFirst, rounds / 2);
    EXPECT_FALSE(mutex.heldByThisThread());
}

TEST(UuidTest, IsVersionFourAndNew) {
    const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> seen;
    for (std::string uuid = "left over"; seen.size() < 1000;) {
        generateUUID(uuid);
        EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
        ASSERT_TRUE(seen.insert(uuid).second);
    }
}

struct AudioServerTest : HostTest {
    int upload() { return server.uploadFileToActiveServer("a", "b"); }

    int standIn = 0;  // the facade only hands the controller on
    AudioServer server{reinterpret_cast<PAController&>(standIn)};
};

TEST_F(AudioServerTest, UploadsThroughTheLinkAndKeepsABoundedLog) {
    EXPECT_NE(upload(), 1);
    server.setUploader([](const std::string& local, const std::string& remote) {
        return local == "a" && remote == "b" ? 1 : 2;
    });
    EXPECT_EQ(upload(), 1);
    server.setUploader([](const std::string&, const std::string&) -> int {
        throw std::runtime_error("disk on fire");
    });
    EXPECT_NE(upload(), 1);
    EXPECT_EQ(log.text(),
              "E2 upload of a: no connection to the server\nE2 upload of a: disk on fire\n");

    EXPECT_NE(server.getUUID(), AudioServer(server.getPAController()).getUUID());
    for (std::size_t i = 0; i <= AudioServer::campaignLogCapacity; ++i) {
        server.addCampaignLog(std::to_string(i));
    }
    EXPECT_EQ(server.getCampaignLog().size(), AudioServer::campaignLogCapacity);
    EXPECT_EQ(server.getCampaignLog().front(), "1");
}

TEST_F(AudioServerTest, ANewWayServesAtOnceAndTheOneBeforeIsWaitedFor) {
    server.setUploader([this](const std::string&, const std::string&) {
        if (log.text().empty()) {
            log.add("begins, ");
            log.waitFor("new way");
            log.add("ends, ");
        }
        return 1;
    });
    pa::PosixThread slow("slow", [this] { upload(); });
    log.waitFor("begins");
    {
        pa::PosixThread replacing("replacing", [this] {
            server.setUploader([](const std::string&, const std::string&) { return 5; });
            log.add("replaced");
        });
        until([this] { return upload() == 5; });
        log.add("new way, ");
    }
    EXPECT_EQ(log.text(), "begins, new way, ends, replaced");
}

}  // namespace
