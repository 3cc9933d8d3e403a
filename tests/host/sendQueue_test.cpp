#include "sdk/SendQueue.h"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <thread>

#include "framework/clock.h"
#include "framework/log.h"
#include "sdk/globals.h"

namespace {

pa::Operation operation(int number) {
    return {-1, 92, number, 1, "payload " + std::to_string(number)};
}

TEST(SendQueueTest, IsBoundedInOrderAndForgetsWhatIsTooOld) {
    pa::SendQueue queue(3);
    queue.setMaxWait(std::chrono::milliseconds(50));
    EXPECT_TRUE(queue.push(operation(1), 100));
    EXPECT_TRUE(queue.push(operation(2), 120));
    EXPECT_TRUE(queue.push(operation(3), 140));
    EXPECT_FALSE(queue.push(operation(4), 140));

    pa::SendQueue::Waiting first = *queue.pop();
    EXPECT_EQ(first.operation.operationNumber, 1);
    queue.putBack(std::move(first));
    EXPECT_TRUE(queue.takeExpired(150).empty());
    const auto dropped = queue.takeExpired(171);
    ASSERT_EQ(dropped.size(), 2U) << "what is put back keeps its age";
    EXPECT_EQ(dropped[0].operation.payload, "payload 1");
    EXPECT_EQ(dropped[0].since, 100);
    EXPECT_EQ(queue.pop()->operation.operationNumber, 3);
    EXPECT_FALSE(queue.pop());
}

std::atomic<std::int64_t> nowMS{0};

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

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::string text_;
};

/// A link that notes the numbers of what it is given, and can be down.
struct Sender : pa::OperationSender {
    bool sendOperation(const pa::Operation& sent) override {
        const bool takes = up;
        (takes ? numbers : refusals).add(std::to_string(sent.operationNumber) + " ");
        return takes;
    }
    std::atomic<bool> up{true};
    Transcript numbers;
    Transcript refusals;
};

TEST(QXReceiverTest, KeepsOrderAcrossALossAndReportsWhatItDrops) {
    pa::TimeSource source;
    source.monotonicMS = [] { return nowMS.load(); };
    pa::setTimeSource(source);
    Transcript errors;
    pa::setLogSink([&](const pa::LogLine& line) { errors.add(line.text + "\n"); });

    Sender sender;
    gQXReceiver.addOperationToSendQueue(-1, 92, 1, 1, "a");
    gQXReceiver.connect(sender);
    gQXReceiver.addOperationToSendQueue(-1, 92, 2, 1, "b");
    EXPECT_EQ(sender.numbers.waitFor(4), "1 2 ");
    sender.up = false;
    gQXReceiver.addOperationToSendQueue(-1, 92, 3, 1, "c");
    sender.refusals.waitFor(1);
    sender.up = true;
    gQXReceiver.addOperationToSendQueue(-1, 92, 4, 1, "d");
    EXPECT_EQ(sender.numbers.waitFor(8), "1 2 3 4 ");

    gQXReceiver.disconnect();
    gQXReceiver.setMaxWait(std::chrono::milliseconds(2000));
    gQXReceiver.addOperationToSendQueue(-2, 92, 17, 1, "e");
    nowMS += 2001;
    std::string expected = "operation 92/17 dropped after 2001 ms: the link was down\n";
    EXPECT_EQ(errors.waitFor(1), expected);
    for (std::size_t i = 0; i < QXReceiver::capacity + 1; ++i) {
        gQXReceiver.addOperationToSendQueue(-1, 78, 6, 1, "");
    }
    expected += "operation 78/6 dropped after 0 ms: the send queue is full\n";
    EXPECT_EQ(errors.waitFor(1), expected);
    gQXReceiver.connect(sender);
    EXPECT_EQ(sender.numbers.waitFor(8 + 2 * QXReceiver::capacity).substr(0, 12), "1 2 3 4 6 6 ");
    gQXReceiver.disconnect();
    pa::setLogSink({});
    pa::setTimeSource({});
}

/// Takes its time over each operation.
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

TEST(QXReceiverTest, DisconnectsFromASenderThatIsNotInUseAnyMore) {
    for (int round = 0; round < 100; ++round) {
        SlowSender sender;
        gQXReceiver.addOperationToSendQueue(-1, 92, 1, 1, "");
        gQXReceiver.connect(sender);
        while (!sender.entered) {
            std::this_thread::yield();
        }
        gQXReceiver.disconnect();
        EXPECT_TRUE(sender.left);
    }
}

}  // namespace
