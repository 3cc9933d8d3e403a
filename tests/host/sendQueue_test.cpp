#include "sdk/host/SendQueue.h"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "framework/clock.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "sdk/host/DropList.h"
#include "sdk/host/requestId.h"

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
    EXPECT_FALSE(queue.push(operation(4, std::string(1000, 'x')), 140));
    queue.setMaxBytes(0);
    EXPECT_EQ(queue.front().operation.payload, "12345") << "what waits stays";
    queue.setMaxBytes(3 * pa::SendQueue::overhead + 8);
    EXPECT_TRUE(queue.push(operation(5), 140));
}

TEST(SendQueueTest, HoldsAHundredThousandPlayOperationsByDefault) {
    pa::SendQueue queue(QXReceiver::defaultMaxBytes);
    int taken = 0;
    while (taken < 100'000 && queue.push(operation(17, std::string(300, 'x')), 0)) {
        ++taken;
    }
    EXPECT_EQ(taken, 100'000);
    EXPECT_LE(sizeof(pa::SendQueue::WaitingOperation), 64U) << "see pa::SendQueue::overhead";
}

TEST(RequestIdTest, IsReadFromThePayloadsThatHaveOne) {
    EXPECT_EQ(pa::requestIdOf({92, 17}, R"("a\"b\\,c",0,500,"x")"), R"(a"b\,c)");
    EXPECT_EQ(pa::requestIdOf({92, 17}, R"("",0,500)"), "");
    EXPECT_EQ(pa::requestIdOf({92, 18}, R"("request 1")"), "request 1");
    EXPECT_EQ(pa::requestIdOf({92, 18}, R"("",4)"), "");
    EXPECT_EQ(pa::requestIdOf({92, 19}, R"(12,"0b-1c~\"Morning, early\"",2026,1)"), "0b-1c");
    EXPECT_EQ(pa::requestIdOf({92, 19}, "12"), "");
    EXPECT_EQ(pa::requestIdOf({108, 3}, R"(a"b,en,Nora,48000,"text, text")"), "a\"b");
    EXPECT_EQ(pa::requestIdOf({92, 1}, "1,0b-1c"), "") << "of a client, not of a request";
    EXPECT_EQ(pa::requestIdOf({92, 17}, R"("cut off)"), R"("cut off)");
    EXPECT_EQ(pa::requestIdOf({92, 17}, R"("cut off\)"), R"("cut off\)");
    EXPECT_EQ(pa::requestIdOf({92, 17}, ""), "");
}

TEST(DropListTest, HasRoomAgainForWhatHasBeenTaken) {
    const std::string payload = '"' + std::string(std::size_t{9} << 20U, 'i') + '"';
    pa::DropList list;
    for (int i = 0; i < 3; ++i) {
        list.add(pa::DroppedOperation::Reason::QueueFull, pa::operations::playMessage, payload);
        list.add(pa::DroppedOperation::Reason::QueueFull, pa::operations::playMessage, payload);
        EXPECT_EQ(list.take()->requestId.size(), payload.size() - 2);
        EXPECT_EQ(list.take()->reason, pa::DroppedOperation::Reason::Unlisted);
        EXPECT_TRUE(list.empty());
    }
}

std::atomic<std::int64_t> nowMS{0};
std::atomic<std::int64_t> perLookMS{0};  // time passes so much whenever it is looked at

void add(int number, const std::string& payload = "") {
    gQXReceiver.addOperationToSendQueue(-1, 92, number, 1, payload);
}

/// Collects text from any thread, and waits for it.
class Transcript {
public:
    void add(const std::string& text) {
        const std::lock_guard guard(lock_);
        text_ += text;
        changed_.notify_all();
    }
    std::string waitFor(std::size_t length) {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return text_.size() >= length; });
        return text_;
    }
    std::string text() { return waitFor(0); }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::string text_;
};

/// A link that notes the numbers of the operations, and can be down, blocked or broken.
struct Sender : pa::OperationSender {
    bool sendOperation(const pa::Operation& sent) override {
        const bool takes = up;
        (takes ? numbers : refusals).add(std::to_string(sent.type.number) + " ");
        const std::lock_guard held(gate);
        if (sent.payload == "throw") {
            throw std::runtime_error("too large");
        }
        if (sent.payload == "throw 5") {
            throw 5;
        }
        return takes;
    }
    std::atomic<bool> up{true};
    std::mutex gate;  // an operation is not sent while a test has it
    Transcript numbers;
    Transcript refusals;
};

/// Notes what is dropped.
struct Listener : pa::DropListener {
    void operationDropped(const pa::DroppedOperation& dropped) override {
        const std::string one =
            textOf(dropped.type) + ' ' + dropped.requestId + ' ' + std::to_string(dropped.ageMS) +
            ' ' + std::to_string(static_cast<int>(dropped.reason)) + ' ' + dropped.text + '\n';
        drops.add(dropped.count == 1 ? one : std::to_string(dropped.count) + ' ' + one);
        count += dropped.count;
        if (again) {
            add(17, R"("again")");
        }
    }
    Transcript drops;
    std::atomic<std::size_t> count{0};
    bool again = false;  // queues another operation for each
};

struct QXReceiverTest : testing::Test {
    QXReceiverTest() {
        pa::TimeSource source;
        source.monotonicMS = [] { return nowMS += perLookMS; };
        pa::setTimeSource(source);
        pa::setLogSink([this](const pa::LogLine& line) { errors.add(line.text + "\n"); });
        gQXReceiver.open(listener);
    }
    ~QXReceiverTest() override {
        gQXReceiver.close(0ms);
        gQXReceiver.abandon();
        gQXReceiver.forget(listener);
        gQXReceiver.setMaxBytes(QXReceiver::defaultMaxBytes);
        gQXReceiver.setMaxWait(5000ms);
        pa::setLogSink({});
        pa::setTimeSource({});
    }

    Transcript errors;
    Sender sender;
    Listener listener;
};

TEST_F(QXReceiverTest, KeepsOrderAcrossALoss) {
    add(1);
    gQXReceiver.connect(sender);
    add(2);
    EXPECT_EQ(sender.numbers.waitFor(4), "1 2 ");
    sender.up = false;
    add(3);
    sender.refusals.waitFor(1);
    sender.up = true;
    add(4);
    EXPECT_EQ(sender.numbers.waitFor(8), "1 2 3 4 ");
    gQXReceiver.pause();
    add(5);
    gQXReceiver.connect(sender);
    EXPECT_EQ(sender.numbers.waitFor(10), "1 2 3 4 5 ");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(QXReceiverTest, ReportsAndPassesOnEachThatItDrops) {
    gQXReceiver.setMaxWait(2000ms);
    add(17, R"("old one",0,500)");
    nowMS += 2001;
    std::string lines =
        "operation 92/17 of request >old one< dropped after 2001 ms: the link was down\n";
    std::string passedOn = "92/17 old one 2001 1 the link was down\n";
    EXPECT_EQ(errors.waitFor(lines.size()), lines);
    EXPECT_EQ(listener.drops.waitFor(passedOn.size()), passedOn);

    add(1);
    gQXReceiver.setMaxBytes(0);
    add(18, R"("no room")");
    lines += "operation 92/18 of request >no room< dropped after 0 ms: the send queue is full\n";
    passedOn += "92/18 no room 0 0 the send queue is full\n";
    EXPECT_EQ(listener.drops.waitFor(passedOn.size()), passedOn);
    EXPECT_EQ(errors.text(), lines);

    gQXReceiver.setMaxBytes(QXReceiver::defaultMaxBytes);
    add(9, "throw");
    nowMS += 7;
    gQXReceiver.connect(sender);
    lines += "operation 92/9 dropped after 7 ms: too large\n";
    passedOn += "92/9  7 3 too large\n";
    EXPECT_EQ(listener.drops.waitFor(passedOn.size()), passedOn);
    add(9, "throw 5");
    lines += "operation 92/9 dropped after 0 ms: the transport has refused it\n";
    passedOn += "92/9  0 3 the transport has refused it\n";
    EXPECT_EQ(listener.drops.waitFor(passedOn.size()), passedOn);
    EXPECT_EQ(errors.text(), lines);
    EXPECT_EQ(sender.numbers.text(), "1 9 9 ");
}

TEST_F(QXReceiverTest, CountsTheDropsThatItCannotList) {
    gQXReceiver.setMaxBytes(0);
    Transcript listed;
    pa::setLogSink([&](const pa::LogLine& line) {  // the queue's thread waits in its first report
        listed.waitFor(1);
        errors.add(line.text + "\n");
    });
    const std::string large(std::size_t{9} << 20U, 'i');
    for (int i = 0; i < 5; ++i) {  // the first is in hand, the next one fills the list
        add(18, '"' + large + '"');
    }
    listed.add("x");
    gQXReceiver.close(0ms);
    gQXReceiver.abandon();
    EXPECT_EQ(listener.count, 5U);
    EXPECT_NE(listener.drops.text().find(" 0/0  0 4 too many to list each\n"), std::string::npos);
    EXPECT_NE(errors.text().find(" more operations dropped: too many to list each\n"),
              std::string::npos);
    pa::setLogSink({});
}

TEST_F(QXReceiverTest, AStopSendsWhatWaits) {
    gQXReceiver.connect(sender);
    std::string sent;
    for (int i = 0; i < 3000; ++i) {
        add(i);
        sent += std::to_string(i) + " ";
    }
    gQXReceiver.close(1000ms);
    EXPECT_EQ(sender.numbers.text(), sent);
    add(18, R"("late")");
    add(7);  // a renewal of the controller's worker
    gQXReceiver.abandon();
    EXPECT_EQ(listener.drops.text(), "92/18 late 0 2 the link was stopped\n");
    EXPECT_EQ(errors.text(),
              "operation 92/18 of request >late< dropped after 0 ms: the link was stopped\n");
    gQXReceiver.open(listener);
    gQXReceiver.connect(sender);
    add(1);
    EXPECT_EQ(sender.numbers.waitFor(sent.size() + 2), sent + "1 ");
}

TEST_F(QXReceiverTest, AStopGoesOnTryingWhileTheLinkRefuses) {
    sender.up = false;
    gQXReceiver.connect(sender);
    add(1);
    sender.refusals.waitFor(1);
    std::thread stopping([] {
        gQXReceiver.close(1min);
        gQXReceiver.abandon();
    });
    sender.up = true;
    stopping.join();
    EXPECT_EQ(sender.numbers.text(), "1 ");
}

TEST_F(QXReceiverTest, AStopWithoutALinkWaitsForNothing) {
    add(1);
    gQXReceiver.close(1000ms);  // by a clock that does not advance
    gQXReceiver.abandon();
    EXPECT_EQ(listener.drops.text(), "92/1  0 2 the link was stopped\n");
}

TEST_F(QXReceiverTest, AStopReportsWhatCannotBeSentInTime) {
    gQXReceiver.connect(sender);
    std::unique_lock gate(sender.gate);
    for (int number : {1, 2, 3}) {
        add(number);
    }
    sender.numbers.waitFor(2);
    perLookMS = 1000;
    gQXReceiver.close(1000ms);
    perLookMS = 0;
    EXPECT_EQ(listener.count, 0U);
    sender.up = false;
    gate.unlock();  // the transport returns when it is stopped
    gQXReceiver.abandon();
    const std::string drops = listener.drops.text();
    EXPECT_EQ(listener.count, 2U);
    EXPECT_EQ(drops.substr(0, 6), "92/2  ");
    EXPECT_NE(drops.find(" 2 the link was stopped\n92/3  "), std::string::npos);
}

TEST_F(QXReceiverTest, AStopEndsThoughEachDropLeadsToAnother) {
    listener.again = true;
    for (int i = 0; i < 100; ++i) {
        add(i);
    }
    gQXReceiver.close(0ms);
    gQXReceiver.abandon();
    EXPECT_GE(listener.count, 100U);
    gQXReceiver.forget(listener);
    const std::size_t passedOn = listener.count;
    add(1);
    errors.waitFor(errors.text().size() + 1);
    EXPECT_EQ(listener.count, passedOn) << "it is not used any more";
}

/// A sender that is slow with each operation.
struct SlowSender : pa::OperationSender {
    bool sendOperation(const pa::Operation&) override {
        entered = true;
        for (int i = 0; i < 50; ++i) {
            std::this_thread::yield();
        }
        left = true;
        return true;
    }
    std::atomic<bool> entered{false};
    std::atomic<bool> left{false};
};

TEST_F(QXReceiverTest, LeavesASenderThatIsNotInUseAnyMore) {
    for (int round = 0; round < 100; ++round) {
        SlowSender slow;
        gQXReceiver.open(listener);
        add(1);
        gQXReceiver.connect(slow);
        while (!slow.entered) {
            std::this_thread::yield();
        }
        gQXReceiver.abandon();
        EXPECT_TRUE(slow.left);
    }
}

TEST_F(QXReceiverTest, HoldsNoLockWhileItReports) {
    Transcript reporting;
    Transcript queued;
    pa::setLogSink([&](const pa::LogLine&) {
        reporting.add("r");
        queued.waitFor(1);
    });
    gQXReceiver.setMaxWait(0ms);
    add(1);
    nowMS += 1;
    reporting.waitFor(1);
    add(2);  // while the report of the first one is being written
    queued.add("q");
    gQXReceiver.connect(sender);
    EXPECT_EQ(sender.numbers.waitFor(2), "2 ");
    gQXReceiver.close(0ms);
    gQXReceiver.abandon();
    pa::setLogSink({});
}

}  // namespace
