// SPDX-License-Identifier: Apache-2.0
#include "sdk/QXReceiver.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "framework/clock.h"
#include "framework/earlyObject.h"
#include "framework/fork.h"
#include "framework/log.h"
#include "framework/posixThread.h"
#include "sdk/host/DropList.h"
#include "sdk/host/SendQueue.h"
#include "sdk/host/requestId.h"

using namespace pa;

namespace {

using Reason = DroppedOperation::Reason;

/// The queue, its sender and the thread between them.
class Sending {
public:
    void add(int destination, OperationType type, int flag, const std::string& payload) {
        Reason reason = Reason::QueueFull;
        try {
            Operation operation{destination, type, flag, payload};
            const std::lock_guard guard(lock_);
            startThread();
            if (closed_ && type == operations::renewLock) {
                // The controller's own, every 9 s for each lock in the caches: a lock ends with its
                // connection, and no application has asked for the renewal.
                return;
            }
            if (closed_) {
                reason = Reason::Stopped;
            } else if (queue_.push(std::move(operation), monotonicMS())) {
                if (resting_ == Rest::ForWork) {
                    wake();
                }
                return;
            }
        } catch (const std::bad_alloc&) {
            // Out of memory: the queue counts as full.
        }
        const std::lock_guard guard(lock_);
        drops_.add(reason, type, payload);
        ++dropped_;
        wake();
    }

    void open(DropListener& listener) {
        const std::lock_guard guard(lock_);
        startThread();
        listener_ = &listener;
        closed_ = false;
        abandoned_ = false;
    }

    void connect(OperationSender& sender) {
        const std::lock_guard guard(lock_);
        startThread();
        sender_ = &sender;
        retryAt_ = {};
        wake();
    }

    void pause() {
        const std::lock_guard guard(lock_);
        sender_ = nullptr;
        progress_.notify_all();  // for `close`
    }

    void close(std::chrono::milliseconds limit) {
        std::unique_lock guard(lock_);
        closed_ = true;
        const std::int64_t start = monotonicMS();
        const auto left = [&] { return limit - std::chrono::milliseconds(monotonicMS() - start); };
        while (!queue_.empty() && sender_ != nullptr && left().count() > 0) {
            progress_.wait_for(guard, std::min<std::chrono::milliseconds>(left(), tick));
        }
    }

    void abandon() {
        std::unique_lock guard(lock_);
        sender_ = nullptr;
        closed_ = true;
        abandoned_ = true;
        wake();
        const std::uint64_t dropped = dropped_;
        progress_.wait(guard, [&] { return queue_.empty() && !sending_ && reported_ >= dropped; });
    }

    void forget(const DropListener& listener) {
        std::unique_lock guard(lock_);
        if (listener_ == &listener) {
            listener_ = nullptr;
        }
        progress_.wait(guard, [&] { return notified_ != &listener; });
    }

    void setMaxWait(std::chrono::milliseconds wait) {
        const std::lock_guard guard(lock_);
        queue_.setMaxWait(wait);
        wake();
    }

    void setMaxBytes(std::size_t bytes) {
        const std::lock_guard guard(lock_);
        queue_.setMaxBytes(bytes);
    }

    std::size_t waiting() {
        const std::lock_guard guard(lock_);
        return queue_.size();
    }

private:
    /// The real time between two looks at the age of waiting operations, two attempts on a lost
    /// link, and two looks of `close` at the host's clock.
    static constexpr std::chrono::milliseconds tick{100};

    /// What the thread waits for while it rests.
    enum class Rest { None, ForWork, ForLink };

    void startThread() {
        if (!started_) {
            PosixThread thread("send-queue", [this] { run(); });
            thread.detach();
            started_ = true;
        }
    }

    /// The parent has the link, sends the waiting operations and reports those it has dropped.
    void becomeChild() {
        pa::forgetWaiters(work_);
        pa::forgetWaiters(progress_);
        linkLeft_ = linkLeft_ || (listener_ != nullptr && !closed_);
        listener_ = nullptr;
        notified_ = nullptr;
        sender_ = nullptr;
        for (; !queue_.empty(); queue_.pop()) {
            ++operationsLeft_;
        }
        drops_ = {};
        reporting_ = {};
        reported_ = dropped_;
        sending_ = false;
        retryAt_ = {};
        closed_ = false;
        abandoned_ = false;
        resting_ = Rest::None;
        started_ = false;
        if (linkLeft_ || operationsLeft_ > 0) {
            pa::goOnInChild([this] { reportFork(); });
        }
        lock_.unlock();
    }

    void reportFork() {
        std::unique_lock guard(lock_);
        const bool linkLeft = linkLeft_;
        const unsigned long operationsLeft = operationsLeft_;
        guard.unlock();
        if (linkLeft) {
            handleError(1,
                        "the server link does not work in the child of fork(): start the link "
                        "after fork()");
        }
        if (operationsLeft > 0) {
            handleError(2, "operations that waited at fork() are left to the parent: %lu",
                        operationsLeft);
        }
        guard.lock();
        linkLeft_ = false;
        operationsLeft_ = 0;
    }

    void run() {
        std::unique_lock guard(lock_);
        while (true) {
            const bool reported = reportNext(guard);
            const bool handled = handleFront(guard);
            if (!reported && !handled) {
                rest(guard);
            }
        }
    }

    void rest(std::unique_lock<std::mutex>& guard) {
        if (queue_.empty()) {
            resting_ = Rest::ForWork;
            work_.wait(guard);
        } else {
            resting_ = Rest::ForLink;
            work_.wait_for(guard, tick);
        }
        resting_ = Rest::None;
    }

    void wake() {
        if (resting_ != Rest::None) {
            work_.notify_one();
            resting_ = Rest::None;  // once is enough
        }
    }

    bool isLinkDown() const {
        return sender_ == nullptr || std::chrono::steady_clock::now() < retryAt_;
    }

    /// Does what can be done with the operation at the head of the queue; it stays there meanwhile.
    /// @return false when there is nothing to do
    bool handleFront(std::unique_lock<std::mutex>& guard) {
        if (queue_.empty()) {
            return false;
        }
        if (abandoned_) {
            dropFront(guard, Reason::Stopped, nullptr);
        } else if (!isLinkDown()) {
            sendFront(guard);
        } else if (queue_.isFrontTooOld(monotonicMS())) {
            dropFront(guard, Reason::WaitedTooLong, nullptr);
        } else {
            return false;
        }
        return true;
    }

    void sendFront(std::unique_lock<std::mutex>& guard) {
        OperationSender& sender = *sender_;
        const Operation& operation = queue_.front().operation;
        bool sent = false;
        std::optional<std::string> refusal;
        sending_ = true;
        guard.unlock();
        try {
            sent = sender.sendOperation(operation);
        } catch (const std::exception& e) {
            refusal = e.what();
        } catch (...) {
            refusal = textOf(Reason::Refused);
        }
        guard.lock();
        sending_ = false;
        if (refusal) {
            dropFront(guard, Reason::Refused, refusal->c_str());
        } else if (sent) {
            queue_.pop();
        } else {
            retryAt_ = std::chrono::steady_clock::now() + tick;
        }
        if (queue_.empty() || isLinkDown()) {
            progress_.notify_all();
        }
    }

    /// @param text the reason in words, null for the usual ones
    void dropFront(std::unique_lock<std::mutex>& guard, Reason reason, const char* text) {
        const SendQueue::WaitingOperation& front = queue_.front();
        const Operation& operation = front.operation;
        passOn(guard, [&] {
            DroppedOperation dropped;
            dropped.reason = reason;
            dropped.type = operation.type;
            dropped.requestId = pa::requestIdOf(operation.type, operation.payload);
            dropped.text = text != nullptr ? text : textOf(reason);
            dropped.ageMS = monotonicMS() - front.since;
            return dropped;
        });
        queue_.pop();
        if (queue_.empty()) {
            progress_.notify_all();
        }
    }

    /// Reports one that was dropped on an application's thread.
    /// @return false when there is none
    bool reportNext(std::unique_lock<std::mutex>& guard) {
        if (reporting_.empty()) {
            std::swap(reporting_, drops_);
        }
        std::optional<DroppedOperation> next = reporting_.take();
        if (!next) {
            return false;
        }
        passOn(guard, [&next]() -> const DroppedOperation& {
            next->text = textOf(next->reason);
            return *next;
        });
        reported_ += next->count;
        if (reporting_.empty()) {
            progress_.notify_all();
        }
        return true;
    }

    /// Reports the operation that `describe` returns, and passes it to the listener, without the
    /// lock.
    template <class Describe>
    void passOn(std::unique_lock<std::mutex>& guard, Describe describe) {
        DropListener* const listener = notified_ = listener_;
        guard.unlock();
        try {
            const DroppedOperation& dropped = describe();
            report(dropped);
            if (listener != nullptr) {
                listener->operationDropped(dropped);
            }
        } catch (const std::bad_alloc&) {
            handleError(2, "a dropped operation cannot be reported: out of memory");
        }
        guard.lock();
        notified_ = nullptr;
        if (listener != listener_) {
            progress_.notify_all();  // `forget`
        }
    }

    std::mutex lock_;
    std::condition_variable work_;      // for the thread
    std::condition_variable progress_;  // for those that wait for the thread
    SendQueue queue_{QXReceiver::defaultMaxBytes};
    OperationSender* sender_ = nullptr;
    bool sending_ = false;                             // the sender is in use, outside the lock
    std::chrono::steady_clock::time_point retryAt_{};  // not before, as the sender has refused
    Rest resting_ = Rest::None;
    bool closed_ = false;     // takes no more operations
    bool abandoned_ = false;  // drops those that wait
    DropListener* listener_ = nullptr;
    DropListener* notified_ = nullptr;  // the listener in use, outside the lock
    DropList drops_;
    DropList reporting_;                // used by the thread only: filled by exchange with drops_
    std::uint64_t dropped_ = 0;         // on applications' threads, in total
    std::uint64_t reported_ = 0;        // of these
    bool started_ = false;              // the thread runs
    bool linkLeft_ = false;             // a child whose parent had a link, not reported yet
    unsigned long operationsLeft_ = 0;  // as above: how many waited

    pa::ForkParticipant acrossFork_{
        pa::ForkRank::SendQueue,
        {[this] { lock_.lock(); }, [this] { lock_.unlock(); }, [this] { becomeChild(); }}};
};

// Built on first use and never destroyed: threads of the library may queue at any time.
Sending& sending() {
    static Sending& instance = *new Sending;
    return instance;
}

PASDK_EARLIEST const pa::MadeEarly made(sending);

}  // namespace

void QXReceiver::addOperationToSendQueue(int destination, int operationClass, int operationNumber,
                                         int flag, const std::string& payload) {
    const OperationType type{operationClass, operationNumber};
    try {
        sending().add(destination, type, flag, payload);
    } catch (const std::exception& e) {  // the queue's thread cannot be created
        DroppedOperation dropped;
        dropped.type = type;
        dropped.requestId = pa::requestIdOf(type, payload);
        dropped.text = e.what();
        report(dropped);
    }
}

void QXReceiver::setMaxWait(std::chrono::milliseconds wait) {
    sending().setMaxWait(wait);
}

void QXReceiver::setMaxBytes(std::size_t bytes) {
    sending().setMaxBytes(bytes);
}

std::size_t QXReceiver::waiting() const {
    return sending().waiting();
}

void QXReceiver::open(DropListener& listener) {
    sending().open(listener);
}

void QXReceiver::connect(OperationSender& sender) {
    sending().connect(sender);
}

void QXReceiver::pause() {
    sending().pause();
}

void QXReceiver::close(std::chrono::milliseconds limit) {
    sending().close(limit);
}

void QXReceiver::abandon() {
    sending().abandon();
}

void QXReceiver::forget(const DropListener& listener) {
    sending().forget(listener);
}
