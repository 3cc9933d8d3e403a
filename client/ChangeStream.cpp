#include "client/ChangeStream.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include "framework/fork.h"
#include "link/HandlerSlot.h"
#include "link/waitAtMost.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

namespace paclient {

// -------------------------------------------------------------------------------------- the queue

struct Subscription::Queue {
    Queue(ChangeKinds kindsWanted, std::size_t mostBytes)
        : wanted(kindsWanted), maxBytes(mostBytes), fd(newDescriptor()) {}
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue() { close(fd); }

    static int newDescriptor() {
        const int descriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        if (descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), "eventfd");
        }
        return descriptor;
    }

    bool isEmpty() const { return waiting.empty() && lost == 0; }

    void add(const ChangePtr& change, std::size_t size) {
        const std::lock_guard guard(lock);
        const bool wasEmpty = isEmpty();
        // The first one fits whatever its size; what is lost is lost until the rest has been read.
        if (lost > 0 || (!waiting.empty() && bytes + size > maxBytes)) {
            ++lost;
        } else {
            waiting.push_back({change, size});
            bytes += size;
        }
        if (wasEmpty) {
            eventfd_write(fd, 1);
            added.notify_all();
        }
    }

    /// With the lock held.
    ChangePtr take() {
        if (isEmpty()) {
            return nullptr;
        }
        ChangePtr change;
        if (waiting.empty()) {
            change = std::make_shared<const Change>(Lost{std::exchange(lost, 0)});
        } else {
            change = std::move(waiting.front().change);
            bytes -= waiting.front().bytes;
            waiting.pop_front();
        }
        if (isEmpty()) {
            eventfd_t count = 0;
            eventfd_read(fd, &count);
        }
        return change;
    }

    /// In the child of a fork, with the lock held: the descriptor is shared with the parent until
    /// one of the child's own has its number.
    void separateFromParent() {
        pa::forgetWaiters(added);
        const int own = eventfd(isEmpty() ? 0 : 1, EFD_NONBLOCK | EFD_CLOEXEC);
        if (own >= 0) {
            dup3(own, fd, O_CLOEXEC);
            close(own);
        }
    }

    struct Waiting {
        ChangePtr change;
        std::size_t bytes;
    };

    const ChangeKinds wanted;
    const std::size_t maxBytes;
    const int fd;  // holds 1 while changes wait
    std::mutex lock;
    std::condition_variable added;
    // Guarded by lock.
    std::deque<Waiting> waiting;
    std::size_t bytes = 0;
    std::uint64_t lost = 0;  // after those that wait
};

struct Listener::Entry {
    explicit Entry(ChangeKinds kindsWanted) : wanted(kindsWanted) {}

    const ChangeKinds wanted;
    palink::HandlerSlot<ChangePtr> slot;
};

// ------------------------------------------------------------------------------------- the stream

namespace {

/// Compares the holders of the source locks with those of the time before. The threads that ask
/// for a comparison do not wait for each other: one of them compares until none has asked since.
class LockHolders {
public:
    template <class Publish>
    void compare(Publish publish) {
        if (!begin()) {
            return;
        }
        while (const auto round = nextRound()) {
            const auto locks = gPaController.getPaSourceLocks();
            for (LockChange& change : changes(locks, *round)) {
                publish(std::move(change));
            }
        }
    }

    void forget() {
        const std::lock_guard guard(lock_);
        holders_.clear();
    }

private:
    bool begin() {
        const std::lock_guard guard(lock_);
        ++asked_;
        return !std::exchange(comparing_, true);
    }

    std::optional<std::uint64_t> nextRound() {
        const std::lock_guard guard(lock_);
        comparing_ = answered_ != asked_;
        return comparing_ ? std::optional(asked_) : std::nullopt;
    }

    std::vector<LockChange> changes(const std::vector<PaSourceLockStatus>& locks,
                                    std::uint64_t round) {
        const std::lock_guard guard(lock_);
        std::vector<LockChange> result;
        std::map<int, std::string> now;
        for (const PaSourceLockStatus& lock : locks) {
            now.try_emplace(lock.sourceId, lock.lockedUUID);
        }
        for (const auto& [sourceId, before] : holders_) {
            now.try_emplace(sourceId);  // a source that has been withdrawn is held by no client
        }
        for (const auto& [sourceId, holder] : now) {
            const auto before = holders_.find(sourceId);
            if (before != holders_.end() && before->second != holder) {
                result.push_back({sourceId, holder, before->second});
            }
        }
        holders_ = std::move(now);
        answered_ = round;
        return result;
    }

    std::mutex lock_;
    // Guarded by lock_.
    std::map<int, std::string> holders_;  // by source; a source is compared from its second time on
    bool comparing_ = false;
    std::uint64_t asked_ = 0;
    std::uint64_t answered_ = 0;
};

}  // namespace

struct ChangeStream::State {
    struct Subscribers {
        std::vector<std::shared_ptr<Subscription::Queue>> queues;
        std::vector<std::shared_ptr<Listener::Entry>> listeners;
    };

    std::shared_ptr<const Subscribers> current() {
        const std::lock_guard guard(lock);
        return subscribers;
    }

    template <class Act>
    void change(Act act) {
        const std::lock_guard guard(lock);
        auto changed = std::make_shared<Subscribers>(*subscribers);
        act(*changed);
        subscribers = std::move(changed);
    }

    std::mutex lock;
    // Guarded by lock. Replaced, not changed: who publishes has no lock.
    std::shared_ptr<const Subscribers> subscribers = std::make_shared<const Subscribers>();

    LockHolders locks;
    std::atomic<bool> isAway{false};

    const pa::ForkParticipant acrossFork{pa::ForkRank::Facades,
                                         {[this] {
                                              lock.lock();
                                              for (const auto& queue : subscribers->queues) {
                                                  queue->lock.lock();
                                              }
                                          },
                                          [this] {
                                              for (const auto& queue : subscribers->queues) {
                                                  queue->lock.unlock();
                                              }
                                              lock.unlock();
                                          },
                                          [this] {
                                              for (const auto& queue : subscribers->queues) {
                                                  queue->separateFromParent();
                                                  queue->lock.unlock();
                                              }
                                              lock.unlock();
                                          }}};
};

namespace {

/// The observer of the stream.
class StreamObserver final : public PAControllerObserver {
public:
    explicit StreamObserver(ChangeStream& stream) : stream_(stream) {}

    void onPaSourceUpdate(PaSource source) override { updated(std::move(source)); }
    void onPaSourceDelete(int id) override { stream_.publish(Deleted<PaSource>{id}); }
    void onPaSinkUpdate(PaSink sink) override { updated(std::move(sink)); }
    void onPaSinkDelete(int id) override { stream_.publish(Deleted<PaSink>{id}); }
    void onPaZoneUpdate(PaZone zone) override { updated(std::move(zone)); }
    void onPaZoneDelete(std::string id) override {
        stream_.publish(Deleted<PaZone>{std::move(id)});
    }
    void onPaTriggerUpdate(PaTrigger trigger) override { updated(std::move(trigger)); }
    void onPaTriggerDelete(int id) override { stream_.publish(Deleted<PaTrigger>{id}); }
    void onPaSelectorUpdate(PaSelector selector) override { updated(std::move(selector)); }
    void onPaSelectorDelete(int id) override { stream_.publish(Deleted<PaSelector>{id}); }
    void onScheduleUpdate(ScheduleDefinition schedule) override { updated(std::move(schedule)); }
    void onScheduleDelete(ScheduleDefinition schedule) override {
        stream_.publish(Deleted<ScheduleDefinition>{std::move(schedule)});
    }
    void onMessageUpdate(AnnouncementRequest request) override { updated(std::move(request)); }
    void onMessageDelete(AnnouncementRequest request) override {
        stream_.publish(Deleted<AnnouncementRequest>{std::move(request)});
    }
    void onAudioMessageRetrievalComplete(const std::string& requestId, bool success,
                                         MessageRetrievalError error,
                                         const std::string& uri) override {
        stream_.publish(Retrieval{requestId, success, error, uri});
    }

private:
    template <class Record>
    void updated(Record record) {
        stream_.publish(Updated<Record>{std::move(record)});
    }

    ChangeStream& stream_;
};

}  // namespace

ChangeStream& ChangeStream::instance() {
    static ChangeStream& stream = []() -> ChangeStream& {
        auto& made = *new ChangeStream;
        gPaController.registerObserver(new StreamObserver(made));
        return made;
    }();
    return stream;
}

ChangeStream::ChangeStream() : state_(*new State) {}

void ChangeStream::publish(Change change) {
    if (const auto* const connection = std::get_if<palink::ConnectionChange>(&change)) {
        using Link = palink::ConnectionChange::State;
        // Before the subscribers are read: a new one sees the state or receives the change.
        state_.isAway =
            connection->state == Link::Connected || connection->state == Link::Disconnected;
    }
    const auto subscribers = state_.current();
    const std::size_t kind = change.index();
    ChangePtr shared;
    std::size_t bytes = 0;
    const auto share = [&] {
        if (shared == nullptr) {
            bytes = bytesOf(change);
            shared = std::make_shared<const Change>(std::move(change));
        }
    };
    for (const auto& queue : subscribers->queues) {
        if (queue->wanted[kind]) {
            share();
            queue->add(shared, bytes);
        }
    }
    for (const auto& listener : subscribers->listeners) {
        if (listener->wanted[kind]) {
            share();
            listener->slot.call(shared);
        }
    }
}

bool ChangeStream::isAway() const {
    return state_.isAway;
}

void ChangeStream::compareLocks() {
    state_.locks.compare([this](LockChange change) { publish(std::move(change)); });
}

void ChangeStream::forgetLocks() {
    state_.locks.forget();
}

// ------------------------------------------------------------------------------------ subscribers

Subscription::Subscription(ChangeKinds wanted, std::size_t maxBytes)
    : queue_(std::make_shared<Queue>(wanted, maxBytes)) {
    ChangeStream::instance().state_.change(
        [this](auto& subscribers) { subscribers.queues.push_back(queue_); });
}

Subscription::~Subscription() {
    ChangeStream::instance().state_.change([this](auto& subscribers) {
        auto& queues = subscribers.queues;
        queues.erase(std::find(queues.begin(), queues.end(), queue_));
    });
}

ChangePtr Subscription::next() {
    const std::lock_guard guard(queue_->lock);
    return queue_->take();
}

ChangePtr Subscription::next(const Wait& wait) {
    WaitCourse course(wait);
    ChangePtr change = next();
    while (change == nullptr) {
        const auto slice = course.next();
        if (!slice) {
            return nullptr;
        }
        change = next(*slice);
    }
    return change;
}

ChangePtr Subscription::next(std::chrono::milliseconds limit) {
    std::unique_lock guard(queue_->lock);
    const auto hasChange = [this] { return !queue_->isEmpty(); };
    palink::waitAtMost(queue_->added, guard, limit, hasChange);
    return queue_->take();
}

std::size_t Subscription::waiting() const {
    const std::lock_guard guard(queue_->lock);
    return queue_->waiting.size() + (queue_->lost > 0 ? 1 : 0);
}

int Subscription::fileDescriptor() const {
    return queue_->fd;
}

Listener::Listener(ChangeKinds wanted, Function function)
    : entry_(std::make_shared<Entry>(wanted)) {
    entry_->slot.set(std::move(function));
    ChangeStream::instance().state_.change(
        [this](auto& subscribers) { subscribers.listeners.push_back(entry_); });
}

Listener::~Listener() {
    ChangeStream::instance().state_.change([this](auto& subscribers) {
        auto& listeners = subscribers.listeners;
        listeners.erase(std::find(listeners.begin(), listeners.end(), entry_));
    });
    entry_->slot.set({});
}

}  // namespace paclient
