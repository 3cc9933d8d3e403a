#include "sdk/QXReceiver.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <utility>

#include "framework/clock.h"
#include "framework/log.h"
#include "framework/posixThread.h"
#include "sdk/SendQueue.h"

namespace {

void reportDropped(const Operation& operation, std::int64_t ageMS, const char* why) {
    handleError(2, "operation %d/%d dropped after %lld ms: %s", operation.operationClass,
                operation.operationNumber, static_cast<long long>(ageMS), why);
}

/// The queue, its sender and the thread between them.
class Sending {
public:
    Sending() {
        PosixThread thread("send-queue", [this] { run(); });
        thread.detach();
    }

    void add(Operation operation) {
        const std::unique_lock guard(lock_);
        if (!queue_.push(operation, monotonicMS())) {
            reportDropped(operation, 0, "the send queue is full");
            return;
        }
        changed_.notify_all();
    }

    void connect(OperationSender& sender) {
        const std::unique_lock guard(lock_);
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
        const std::unique_lock guard(lock_);
        queue_.setMaxWait(wait);
        changed_.notify_all();
    }

private:
    /// How often the age of waiting operations is looked at.
    static constexpr std::chrono::milliseconds tick{100};

    void run() {
        std::unique_lock guard(lock_);
        while (true) {
            for (const auto& [operation, ageMS] : queue_.dropExpired(monotonicMS())) {
                reportDropped(operation, ageMS, "the link was down");
            }
            if (queue_.empty()) {
                changed_.wait(guard);
            } else if (sender_ == nullptr || linkLost_) {
                changed_.wait_for(guard, tick);
                linkLost_ = false;  // try again
            } else {
                sendNext(guard);
            }
        }
    }

    void sendNext(std::unique_lock<std::mutex>& guard) {
        Operation operation = *queue_.pop();
        OperationSender* const sender = sender_;
        sending_ = true;
        guard.unlock();
        const bool sent = handOver(*sender, operation);
        guard.lock();
        sending_ = false;
        if (!sent) {
            queue_.putBack(std::move(operation));
            linkLost_ = true;
        }
        changed_.notify_all();
    }

    static bool handOver(OperationSender& sender, const Operation& operation) {
        try {
            return sender.sendOperation(operation);
        } catch (const std::exception& e) {
            reportDropped(operation, 0, e.what());
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
