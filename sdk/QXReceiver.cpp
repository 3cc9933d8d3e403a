#include "sdk/QXReceiver.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

#include "framework/clock.h"
#include "framework/log.h"
#include "framework/posixThread.h"
#include "sdk/SendQueue.h"

using namespace pa;

namespace {

void reportDropped(const SendQueue::Waiting& dropped, const char* why) {
    handleError(2, "operation %d/%d dropped after %lld ms: %s", dropped.operation.operationClass,
                dropped.operation.operationNumber,
                static_cast<long long>(monotonicMS() - dropped.since), why);
}

/// The queue, its sender and the thread between them.
class Sending {
public:
    Sending() {
        PosixThread thread("send-queue", [this] { run(); });
        thread.detach();
    }

    void add(Operation operation) {
        const std::lock_guard guard(lock_);
        const std::int64_t now = monotonicMS();
        if (!queue_.push(operation, now)) {
            reportDropped({std::move(operation), now}, "the send queue is full");
            return;
        }
        changed_.notify_all();
    }

    void connect(OperationSender& sender) {
        const std::lock_guard guard(lock_);
        sender_ = &sender;
        linkLost_ = false;
        changed_.notify_all();
    }

    void disconnect() {
        std::unique_lock guard(lock_);
        sender_ = nullptr;
        changed_.wait(guard, [this] { return !sending_; });
    }

    void setMaxWait(std::chrono::milliseconds wait) {
        const std::lock_guard guard(lock_);
        queue_.setMaxWait(wait);
        changed_.notify_all();
    }

private:
    /// How often the age of waiting operations is looked at.
    static constexpr std::chrono::milliseconds tick{100};

    void run() {
        std::unique_lock guard(lock_);
        while (true) {
            if (queue_.empty()) {
                changed_.wait(guard);
            } else if (sender_ == nullptr || linkLost_) {
                for (const SendQueue::Waiting& expired : queue_.takeExpired(monotonicMS())) {
                    reportDropped(expired, "the link was down");
                }
                changed_.wait_for(guard, tick);
                linkLost_ = false;  // try again
            } else {
                sendNext(guard);
            }
        }
    }

    void sendNext(std::unique_lock<std::mutex>& guard) {
        SendQueue::Waiting next = *queue_.pop();
        OperationSender* const sender = sender_;
        sending_ = true;
        guard.unlock();
        const bool sent = handOver(*sender, next);
        guard.lock();
        sending_ = false;
        if (!sent) {
            queue_.putBack(std::move(next));
            linkLost_ = true;
        }
        changed_.notify_all();
    }

    static bool handOver(OperationSender& sender, const SendQueue::Waiting& next) {
        try {
            return sender.sendOperation(next.operation);
        } catch (const std::exception& e) {
            reportDropped(next, e.what());
            return true;
        }
    }

    std::mutex lock_;
    std::condition_variable changed_;
    SendQueue queue_{QXReceiver::capacity};
    OperationSender* sender_ = nullptr;
    bool sending_ = false;   // the sender is in use, outside the lock
    bool linkLost_ = false;  // the sender has refused the head of the queue
};

// Built on first use and never destroyed: threads of the library may queue at any time.
Sending& sending() {
    static Sending& instance = *new Sending;
    return instance;
}

}  // namespace

void QXReceiver::addOperationToSendQueue(int destination, int operationClass, int operationNumber,
                                         int flag, const std::string& payload) {
    sending().add({destination, operationClass, operationNumber, flag, payload});
}

void QXReceiver::connect(OperationSender& sender) {
    sending().connect(sender);
}

void QXReceiver::disconnect() {
    sending().disconnect();
}

void QXReceiver::setMaxWait(std::chrono::milliseconds wait) {
    sending().setMaxWait(wait);
}
