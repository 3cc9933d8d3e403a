#include "link/embedded/EmbeddedTransport.h"

#include <exception>
#include <utility>

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
    }
    delivery_ =
        std::make_unique<pa::PosixThread>("embedded-link", [this, &sink] { runDelivery(sink); });
    meters_ = std::make_unique<pa::PosixThread>("embedded-meter", [this] { runMeters(); });
    server_.connectClient(*this);
}

void EmbeddedTransport::stop() {
    if (generation_ != pa::forkGeneration()) {
        // In the child of a fork: the threads are not here, and the locks may be held for ever.
        for (std::condition_variable* const waitedFor :
             {&arrived_, &room_, &delivered_, &meterRequested_}) {
            pa::forgetWaiters(*waitedFor);
        }
        delivery_.reset();
        meters_.reset();
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
    }
    arrived_.notify_all();
    room_.notify_all();  // first of all: the server may wait with the lock that it needs to go
    delivered_.notify_all();
    meterRequested_.notify_all();
    server_.disconnectClient();
    delivery_.reset();
    meters_.reset();
}

bool EmbeddedTransport::send(const pa::Operation& operation) {
    {
        const std::lock_guard guard(lock_);
        if (!running_) {
            return false;
        }
    }
    server_.handleOperation(operation);
    return true;
}

void EmbeddedTransport::meterLevel(bool subscribe, int element) {
    const std::lock_guard guard(lock_);
    if (running_) {
        meterRequests_[element] = subscribe;
        meterRequested_.notify_one();
    }
}

UploadResult EmbeddedTransport::upload(const std::string& localPath,
                                       const std::string& serverPath) {
    // Whoever uploads may hold what the delivery needs: an observer's callback that plays a file
    // has the controller's mutex. The server must not keep its lock for want of room meanwhile.
    const auto count = [this](int more) {
        const std::lock_guard guard(lock_);
        uploads_ += more;
        room_.notify_all();
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
        room_.wait(guard, [this] { return !running_ || !full_ || uploads_ > 0; });
        --heldBack_;
    }
    if (!running_) {
        delivered_.notify_all();
        return;
    }
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
            room_.notify_all();
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

void EmbeddedTransport::runMeters() {
    std::unique_lock guard(lock_);
    while (true) {
        meterRequested_.wait(guard, [this] { return !running_ || !meterRequests_.empty(); });
        if (!running_) {
            return;
        }
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
}

}  // namespace palink
