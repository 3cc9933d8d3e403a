#include "link/embedded/EmbeddedTransport.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include "framework/clock.h"
#include "framework/fork.h"
#include "framework/log.h"

namespace palink {

namespace {

/// What a text takes beside the object itself.
std::size_t heapBytes(const std::string& text) {
    constexpr std::size_t block = 16;  // what the allocator keeps of a block, rounding included
    static const std::size_t inside = std::string().capacity();
    return text.capacity() > inside ? text.capacity() + block : 0;
}

struct HeapBytes {
    std::size_t operator()(const Connected& connected) const {
        constexpr std::size_t perEntry = 256;
        return connected.serverInfo.size() * perEntry;
    }
    std::size_t operator()(const Disconnected& disconnected) const {
        return heapBytes(disconnected.reason);
    }
    std::size_t operator()(const Record& record) const {
        std::size_t bytes = record.fields.capacity() * sizeof(pa::RecordFields::value_type);
        for (const auto& field : record.fields) {
            bytes += field ? heapBytes(*field) : 0;
        }
        return bytes;
    }
    std::size_t operator()(const Refusal& refusal) const {
        return heapBytes(refusal.requestId) + heapBytes(refusal.reason);
    }
    template <class Plain>
    std::size_t operator()(const Plain& /*event*/) const {
        return 0;
    }
};

}  // namespace

EmbeddedTransport::EmbeddedTransport(EmbeddedServer& server, std::size_t maxBytes)
    : server_(server), maxBytes_(maxBytes) {}

EmbeddedTransport::~EmbeddedTransport() {
    stop();
}

void EmbeddedTransport::start(ServerEventSink& sink) {
    generation_ = pa::forkGeneration();
    {
        const std::lock_guard guard(lock_);
        running_ = true;
        connected_ = false;
        backoff_.reset();
    }
    delivery_ =
        std::make_unique<pa::PosixThread>("embedded-link", [this, &sink] { runDelivery(sink); });
    calls_ = std::make_unique<pa::PosixThread>("embedded-calls", [this] { runCalls(); });
    server_.connectClient(*this);
}

void EmbeddedTransport::stop() {
    if (generation_ != pa::forkGeneration()) {
        // In the child of a fork: it has none of the threads, and a lock may never be given back.
        for (std::condition_variable* const waitedFor :
             {&arrived_, &spaceFreed_, &delivered_, &callRequested_}) {
            pa::forgetWaiters(*waitedFor);
        }
        delivery_.reset();
        calls_.reset();
        return;
    }
    {
        const std::lock_guard guard(lock_);
        if (!running_) {
            return;
        }
        running_ = false;
        queue_.clear();
        bytes_ = 0;
        full_ = false;
        meterRequests_.clear();
        roundTrip_.reset();
        connectAtMS_.reset();
    }
    arrived_.notify_all();
    // Before the server is called: it may wait for space with the lock that disconnectClient takes.
    spaceFreed_.notify_all();
    delivered_.notify_all();
    callRequested_.notify_all();
    server_.disconnectClient();
    delivery_.reset();
    calls_.reset();
}

bool EmbeddedTransport::send(const pa::Operation& operation) {
    {
        const std::lock_guard guard(lock_);
        if (!running_ || !connected_) {
            return false;
        }
    }
    server_.handleOperation(operation);
    return true;
}

void EmbeddedTransport::meterLevel(bool subscribe, int element) {
    const std::lock_guard guard(lock_);
    if (running_ && connected_) {
        meterRequests_[element] = subscribe;
        callRequested_.notify_one();
    }
}

bool EmbeddedTransport::requestRoundTrip(std::uint64_t number) {
    const std::lock_guard guard(lock_);
    if (!running_ || !connected_) {
        return false;
    }
    roundTrip_ = std::max(roundTrip_.value_or(0), number);
    callRequested_.notify_one();
    return true;
}

UploadResult EmbeddedTransport::upload(const std::string& localPath,
                                       const std::string& serverPath) {
    // The thread that uploads may hold what the delivery needs: an observer's callback that plays a
    // file has the controller's mutex. The server must not keep its lock for want of space
    // meanwhile.
    const auto count = [this](int more) {
        const std::lock_guard guard(lock_);
        uploads_ += more;
        spaceFreed_.notify_all();
    };
    count(1);
    try {
        UploadResult result = server_.storeFile(localPath, serverPath);
        count(-1);
        return result;
    } catch (...) {
        count(-1);
        throw;
    }
}

void EmbeddedTransport::waitUntilDelivered() {
    std::unique_lock guard(lock_);
    delivered_.wait(guard, [this] { return queue_.empty() && heldBack_ == 0 && !delivering_; });
}

void EmbeddedTransport::deliver(ServerEvent event) {
    const std::size_t bytes = sizeof(Waiting) + std::visit(HeapBytes{}, event);
    std::unique_lock guard(lock_);
    if (std::this_thread::get_id() != deliveryThread_) {
        ++heldBack_;
        spaceFreed_.wait(guard, [this] { return !running_ || !full_ || uploads_ > 0; });
        --heldBack_;
    }
    const bool isLost = std::holds_alternative<RoundTripComplete>(event) && roundTripLost_;
    if (!running_ || isLost) {
        delivered_.notify_all();
        return;
    }
    noteConnection(event);
    queue_.push_back({std::move(event), bytes});
    bytes_ += bytes;
    full_ = full_ || bytes_ >= maxBytes_;  // until half of it has been delivered
    arrived_.notify_one();
}

void EmbeddedTransport::runDelivery(ServerEventSink& sink) {
    std::unique_lock guard(lock_);
    deliveryThread_ = std::this_thread::get_id();
    while (true) {
        arrived_.wait(guard, [this] { return !running_ || !queue_.empty(); });
        if (!running_) {
            break;
        }
        ServerEvent event = std::move(queue_.front().event);
        bytes_ -= queue_.front().bytes;
        queue_.pop_front();
        if (full_ && bytes_ <= maxBytes_ / 2) {
            full_ = false;
            spaceFreed_.notify_all();
        }
        delivering_ = true;
        guard.unlock();
        sink.deliver(std::move(event));
        guard.lock();
        delivering_ = false;
        if (queue_.empty()) {
            delivered_.notify_all();
        }
    }
    deliveryThread_ = {};
}

// -------------------------------------------------------------------------- connection and calls

/// With lock_ held: what the event means for the connection.
void EmbeddedTransport::noteConnection(const ServerEvent& event) {
    if (std::holds_alternative<Connected>(event)) {
        connected_ = true;
        connectAtMS_.reset();
    } else if (std::holds_alternative<InitialSetComplete>(event)) {
        backoff_.reset();
    } else if (std::holds_alternative<Disconnected>(event)) {
        connected_ = false;
        meterRequests_.clear();
        roundTrip_.reset();
        roundTripLost_ = true;
        connectLater();
    }
}

/// With lock_ held.
void EmbeddedTransport::connectLater() {
    if (!connectAtMS_) {
        connectAtMS_ = pa::monotonicMS() + backoff_.next().count();
        callRequested_.notify_one();
    }
}

void EmbeddedTransport::connect() {
    try {
        server_.connectClient(*this);
    } catch (const std::exception& e) {
        handleError(2, "the server takes no connection: %s", e.what());
        const std::lock_guard guard(lock_);
        if (running_) {
            connectLater();
        }
    }
}

/// Makes the calls that may wait for the server.
void EmbeddedTransport::runCalls() {
    std::unique_lock guard(lock_);
    while (running_) {
        if (!meterRequests_.empty()) {
            switchMeter(guard);
        } else if (roundTrip_) {
            makeRoundTrip(guard);
        } else if (connectAtMS_) {
            connectWhenDue(guard);
        } else {
            callRequested_.wait(guard);
        }
    }
}

void EmbeddedTransport::switchMeter(std::unique_lock<std::mutex>& guard) {
    const auto [element, subscribe] = *meterRequests_.begin();
    meterRequests_.erase(meterRequests_.begin());
    guard.unlock();
    try {
        server_.meterLevel(subscribe, element);
    } catch (const std::exception& e) {
        handleError(2, "level meter %d of the server: %s", element, e.what());
    }
    guard.lock();
}

void EmbeddedTransport::makeRoundTrip(std::unique_lock<std::mutex>& guard) {
    const std::uint64_t number = *roundTrip_;
    roundTrip_.reset();
    roundTripLost_ = false;
    guard.unlock();
    try {
        server_.finishReports();
        deliver(RoundTripComplete{number});
    } catch (const std::exception& e) {
        handleError(2, "round trip to the server: %s", e.what());
    }
    guard.lock();
}

void EmbeddedTransport::connectWhenDue(std::unique_lock<std::mutex>& guard) {
    constexpr std::int64_t longestWaitMS = 20;  // the host's clock may be replaced, or jump
    const std::int64_t left = *connectAtMS_ - pa::monotonicMS();
    if (left > 0) {
        callRequested_.wait_for(guard, std::chrono::milliseconds(std::min(left, longestWaitMS)));
        return;
    }
    connectAtMS_.reset();
    guard.unlock();
    connect();
    guard.lock();
    if (!running_) {
        guard.unlock();
        server_.disconnectClient();  // the stop has called it, maybe before the connection was made
        guard.lock();
    }
}

}  // namespace palink
