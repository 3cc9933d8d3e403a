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

Operation operation(int number) {
    return {-1, 92, number, 1, "payload " + std::to_string(number)};
}

TEST(SendQueueTest, IsBoundedInOrderAndForgetsWhatIsTooOld) {
    SendQueue queue(3);
    queue.setMaxWait(std::chrono::milliseconds(50));
    EXPECT_TRUE(queue.push(operation(1), 100));
    EXPECT_TRUE(queue.push(operation(2), 120));
    EXPECT_TRUE(queue.push(operation(3), 140));
    EXPECT_FALSE(queue.push(operation(4), 140));

    SendQueue::Waiting first = *queue.pop();
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

/// A link that keeps what it is given, and can be down.
class Sender : public OperationSender {
public:
    bool sendOperation(const Operation& sent) override {
        const std::lock_guard guard(lock_);
        if (!up_) {
            ++refused_;
            changed_.notify_all();
            return false;
        }
        numbers_ += std::to_string(sent.operationNumber) + " ";
        changed_.notify_all();
        return true;
    }
    void setUp(bool up) {
        const std::lock_guard guard(lock_);
        up_ = up;
    }
    void waitForRefusal() {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return refused_ > 0; });
    }
    std::string waitFor(std::size_t length) {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return numbers_.size() >= length; });
        return numbers_;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool up_ = true;
    int refused_ = 0;
    std::string numbers_;
};

TEST(QXReceiverTest, KeepsOrderAcrossALossAndReportsWhatItDrops) {
    TimeSource source;
    source.monotonicMS = [] { return nowMS.load(); };
    setTimeSource(source);
    std::mutex lock;
    std::condition_variable changed;
    std::string errors;
    setLogSink([&](const LogLine& line) {
        const std::lock_guard guard(lock);
        errors += line.text + "\n";
        changed.notify_all();
    });

    Sender sender;
    gQXReceiver.addOperationToSendQueue(-1, 92, 1, 1, "a");
    gQXReceiver.connect(sender);
    gQXReceiver.addOperationToSendQueue(-1, 92, 2, 1, "b");
    EXPECT_EQ(sender.waitFor(4), "1 2 ");
    sender.setUp(false);
    gQXReceiver.addOperationToSendQueue(-1, 92, 3, 1, "c");
    sender.waitForRefusal();
    sender.setUp(true);
    gQXReceiver.addOperationToSendQueue(-1, 92, 4, 1, "d");
    EXPECT_EQ(sender.waitFor(8), "1 2 3 4 ");

    gQXReceiver.disconnect();
    gQXReceiver.setMaxWait(std::chrono::milliseconds(2000));
    gQXReceiver.addOperationToSendQueue(-2, 92, 17, 1, "e");
    nowMS += 2001;
    {
        std::unique_lock guard(lock);
        changed.wait(guard, [&] { return !errors.empty(); });
        EXPECT_EQ(errors, "operation 92/17 dropped after 2001 ms: the link was down\n");
        errors.clear();
    }
    for (std::size_t i = 0; i < QXReceiver::capacity + 1; ++i) {
        gQXReceiver.addOperationToSendQueue(-1, 78, 6, 1, "");
    }
    {
        const std::lock_guard guard(lock);
        EXPECT_EQ(errors, "operation 78/6 dropped after 0 ms: the send queue is full\n");
    }
    gQXReceiver.connect(sender);
    EXPECT_EQ(sender.waitFor(8 + 2 * QXReceiver::capacity).substr(0, 12), "1 2 3 4 6 6 ");
    gQXReceiver.disconnect();
    setLogSink({});
    setTimeSource({});
}

/// Takes its time over each operation.
struct SlowSender : OperationSender {
    bool sendOperation(const Operation&) override {
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
