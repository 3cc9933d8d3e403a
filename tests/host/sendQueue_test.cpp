// SPDX-License-Identifier: Apache-2.0
#include "sdk/host/SendQueue.h"

#include <sstream>
#include <string>
#include <thread>
#include <tuple>

#include "sdk/globals.h"
#include "sdk/host/DropList.h"
#include "sdk/host/requestId.h"
#include "tests/host/HostTest.h"

namespace {

using namespace std::chrono_literals;

pa::Operation operation(int number, const std::string& payload = "") {
    return {-1, {92, number}, 1, payload};
}

TEST(SendQueueTest, IsBoundedByMemoryInOrderAndKnowsWhatIsTooOld) {
    pa::SendQueue queue(2 * pa::SendQueue::overhead + 10);
    queue.setMaxWait(50ms);
    EXPECT_TRUE(queue.push(operation(1, "12345"), 100));
    EXPECT_TRUE(queue.push(operation(2, "12345"), 120));
    pa::Operation refused = operation(3, "a");
    EXPECT_FALSE(queue.push(std::move(refused), 140));
    EXPECT_EQ(refused.payload, "a") << "what is refused is left as it is";
    EXPECT_EQ(queue.front().operation.type.number, 1);
    EXPECT_FALSE(queue.isFrontTooOld(150));
    EXPECT_TRUE(queue.isFrontTooOld(151));
    queue.pop();
    EXPECT_EQ(queue.front().since, 120);
    EXPECT_TRUE(queue.push(operation(3, "123"), 140)) << "what is taken frees space";
    EXPECT_GE(QXReceiver::defaultMaxBytes, 100'000 * (300 + pa::SendQueue::overhead))
        << "a hundred thousand play operations";
}

TEST(RequestIdTest, IsReadFromThePayloadsThatHaveOne) {
    const std::tuple<pa::OperationType, std::string, std::string> cases[] = {
        {{92, 17}, R"("a\"b\\,c",0,500,"x")", R"(a"b\,c)"},
        {{92, 17}, R"("",0,500)", ""},
        {{92, 18}, R"("request 1")", "request 1"},
        {{92, 19}, R"(12,"0b-1c~\"Morning, early\"",2026,1)", "0b-1c"},
        {{92, 19}, "12", ""},
        {{108, 3}, R"(a"b,en,Nora,48000,"text, text")", "a\"b"},
        {{92, 1}, "1,0b-1c", ""},  // of a client, not of a request
        {{92, 17}, R"("cut off\)", R"("cut off\)"},
        {{92, 17}, "", ""},
    };
    for (const auto& [type, payload, id] : cases) {
        EXPECT_EQ(pa::requestIdOf(type, payload), id) << payload;
    }
}

void add(int number, const std::string& payload = "") {
    gQXReceiver.addOperationToSendQueue(-1, 92, number, 1, payload);
}

/// Two of these do not fit into the list of drops.
std::string nineMB() {
    return std::string(std::size_t{9} << 20U, 'i');
}

TEST(DropListTest, HasSpaceAgainForWhatHasBeenTaken) {
    pa::DropList list;
    for (int i = 0; i < 3; ++i) {
        list.add(pa::DroppedOperation::Reason::QueueFull, {92, 17}, nineMB());
        list.add(pa::DroppedOperation::Reason::QueueFull, {92, 17}, nineMB());
        EXPECT_EQ(list.take()->requestId, nineMB());
        EXPECT_EQ(list.take()->reason, pa::DroppedOperation::Reason::Unlisted);
    }
}

/// A link that notes the operations. It can be down or broken.
struct NotingSender : pa::OperationSender {
    bool sendOperation(const pa::Operation& operation) override {
        const bool takes = up;
        (takes ? sent : refused).add(std::to_string(operation.type.number) + ";");
        if (operation.payload == "throw") {
            throw std::runtime_error("too large");
        }
        if (operation.payload == "throw 5") {
            throw 5;
        }
        return takes;
    }
    std::atomic<bool> up{true};
    Transcript sent;
    Transcript refused;
};

/// Notes what is dropped.
struct QXReceiverTest : HostTest, pa::DropListener {
    QXReceiverTest() { gQXReceiver.open(*this); }
    ~QXReceiverTest() override {
        stop();
        gQXReceiver.forget(*this);
        gQXReceiver.setMaxBytes(QXReceiver::defaultMaxBytes);
        gQXReceiver.setMaxWait(5000ms);
    }
    static void stop(std::chrono::milliseconds limit = 0ms) {
        gQXReceiver.close(limit);
        gQXReceiver.abandon();
    }
    void operationDropped(const pa::DroppedOperation& dropped) override {
        std::ostringstream line;
        line << dropped.count << ' ' << textOf(dropped.type) << ' ' << dropped.requestId << ' '
             << dropped.ageMS << ' ' << int(dropped.reason) << ' ' << dropped.text << '\n';
        drops.add(line.str());
        if (again) {
            add(17, R"("again")");
        }
    }

    NotingSender sender;
    Transcript drops;
    bool again = false;  // each drop leads to another operation
};

TEST_F(QXReceiverTest, ReportsAndPassesOnEachThatItDrops) {
    // Each is passed on after it has been logged.
    const auto expectDrop = [this](const std::string& line, const std::string& passedOn) {
        EXPECT_EQ(drops.waitFor(passedOn), passedOn);
        EXPECT_EQ(log.take(), line);
        drops.take();
    };
    gQXReceiver.setMaxWait(2000ms);
    add(17, R"("old one",0,500)");
    nowMS += 2001;
    expectDrop("E2 operation 92/17 of request >old one< dropped after 2001 ms: the link was down\n",
               "1 92/17 old one 2001 1 the link was down\n");
    gQXReceiver.setMaxBytes(0);
    add(18, R"("too much")");
    expectDrop(
        "E2 operation 92/18 of request >too much< dropped after 0 ms: the send queue is full\n",
        "1 92/18 too much 0 0 the send queue is full\n");
    gQXReceiver.setMaxBytes(QXReceiver::defaultMaxBytes);
    add(9, "throw");
    nowMS += 7;
    gQXReceiver.connect(sender);
    expectDrop("E2 operation 92/9 dropped after 7 ms: too large\n", "1 92/9  7 3 too large\n");
    add(9, "throw 5");
    expectDrop("E2 operation 92/9 dropped after 0 ms: the transport has refused it\n",
               "1 92/9  0 3 the transport has refused it\n");
}

TEST_F(QXReceiverTest, HoldsNoLockWhileItReportsAndCountsTheDropsThatItCannotList) {
    gQXReceiver.setMaxBytes(0);
    Transcript steps;
    pa::setLogSink([&](const pa::LogLine& line) {  // on the queue's thread
        steps.add("reporting");
        steps.waitFor("all are added");
        log.add(line.text + "\n");
    });
    add(18);
    steps.waitFor("reporting");
    for (int i = 0; i < 4; ++i) {
        add(18, nineMB());
    }
    steps.add("all are added");
    stop();
    EXPECT_NE(drops.text().find("3 0/0  0 4 too many to list each\n"), std::string::npos);
    EXPECT_NE(log.text().find("3 more operations dropped: too many to list each\n"),
              std::string::npos);
}

TEST_F(QXReceiverTest, AStopSendsWhatWaitsInOrderAlsoWhenTheLinkRefusesAtFirst) {
    sender.up = false;
    gQXReceiver.connect(sender);
    std::string sent;
    for (int i = 0; i < 3000; ++i) {
        add(i);
        sent += std::to_string(i) + ";";
    }
    sender.refused.waitFor("0;");
    std::thread stopping([] { gQXReceiver.close(1min); });  // by a clock that does not advance
    sender.up = true;
    stopping.join();
    add(18, R"("late")");
    add(7);  // a renewal of the controller's worker
    gQXReceiver.abandon();
    EXPECT_EQ(sender.sent.text(), sent);
    EXPECT_EQ(drops.take(), "1 92/18 late 0 2 the link was stopped\n");
    gQXReceiver.open(*this);
    add(9000);
    stop(1min);  // without a link there is nothing to wait for
    EXPECT_EQ(drops.text(), "1 92/9000  0 2 the link was stopped\n");
    gQXReceiver.open(*this);
    gQXReceiver.connect(sender);
    gQXReceiver.pause();
    add(9001);
    gQXReceiver.connect(sender);
    EXPECT_EQ(sender.sent.waitFor("9001;"), sent + "9001;");
}

TEST_F(QXReceiverTest, AStopEndsThoughEachDropLeadsToAnother) {
    again = true;
    add(1);
    stop();
    EXPECT_NE(drops.text(), "");
    gQXReceiver.forget(*this);
    drops.take();
    log.take();
    add(2);
    log.waitFor("operation 92/2 dropped");
    EXPECT_EQ(drops.text(), "") << "the listener is not used any more";
}

}  // namespace
