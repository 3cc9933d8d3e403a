#include "link/EmbeddedTransport.h"

#include <utility>

namespace palink {

EmbeddedTransport::EmbeddedTransport(EmbeddedServer& server) : server_(server) {}

EmbeddedTransport::~EmbeddedTransport() {
    stop();
}

void EmbeddedTransport::start(ServerEventSink& sink) {
    thread_ = std::make_unique<pa::PosixThread>("embedded-link", [this, &sink] { run(sink); });
    {
        const std::lock_guard guard(lock_);
        connected_ = true;
    }
    server_.connectClient(*this);
}

void EmbeddedTransport::stop() {
    if (thread_ == nullptr) {
        return;
    }
    server_.disconnectClient();
    {
        const std::lock_guard guard(lock_);
        connected_ = false;
        stopping_ = true;
        queue_.clear();
        changed_.notify_all();
    }
    thread_.reset();
    stopping_ = false;
}

bool EmbeddedTransport::send(const pa::Operation& operation) {
    {
        const std::lock_guard guard(lock_);
        if (!connected_) {
            return false;
        }
    }
    server_.handleOperation(operation);
    return true;
}

void EmbeddedTransport::meterLevel(bool subscribe, int element) {
    {
        const std::lock_guard guard(lock_);
        if (!connected_) {
            return;
        }
    }
    server_.meterLevel(subscribe, element);
}

UploadResult EmbeddedTransport::upload(const std::string& localPath,
                                       const std::string& serverPath) {
    return server_.storeFile(localPath, serverPath);
}

void EmbeddedTransport::waitUntilDelivered() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return queue_.empty() && !delivering_; });
}

void EmbeddedTransport::deliver(ServerEvent event) {
    {
        const std::lock_guard guard(lock_);
        queue_.push_back(std::move(event));
    }
    changed_.notify_all();
}

void EmbeddedTransport::run(ServerEventSink& sink) {
    std::unique_lock guard(lock_);
    while (true) {
        changed_.wait(guard, [this] { return stopping_ || !queue_.empty(); });
        if (stopping_) {
            return;
        }
        ServerEvent event = std::move(queue_.front());
        queue_.pop_front();
        delivering_ = true;
        guard.unlock();
        sink.deliver(std::move(event));
        guard.lock();
        delivering_ = false;
        changed_.notify_all();
    }
}

}  // namespace palink
