#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "framework/levelMeter.h"
#include "framework/posixThread.h"
#include "link/ServerLink.h"
#include "link/embedded/EmbeddedTransport.h"
#include "sdk/AudioServer.h"
#include "sdk/globals.h"
#include "tests/link/storm.h"

/// @file
/// A storm through a whole link: a server that reports all the time, an application that sends
/// requests all the time.

namespace storm {

/// Reports the events of a stream again and again, with its lock held, as a server may.
class BusyServer : public palink::EmbeddedServer {
public:
    explicit BusyServer(std::vector<Event> stream) : stream_(std::move(stream)) {}

    void connectClient(palink::ServerEventSink& client) override {
        const std::lock_guard guard(lock_);
        client_ = &client;
        reportConnected();
    }
    void disconnectClient() override {
        const std::lock_guard guard(lock_);
        client_ = nullptr;
    }
    void handleOperation(const pa::Operation& operation) override {
        const std::lock_guard guard(lock_);
        ++operations;
        if (client_ != nullptr && operation.type == pa::operations::cancelMessage) {
            client_->deliver(palink::Refusal{operation.type, "", "not today"});
        }
    }
    void meterLevel(bool /*subscribe*/, int element) override {
        const std::lock_guard guard(lock_);
        if (client_ != nullptr) {
            client_->deliver(palink::LevelReading{element, -6.0});
        }
    }
    palink::UploadResult storeFile(const std::string& /*localPath*/,
                                   const std::string& /*serverPath*/) override {
        const std::lock_guard guard(lock_);
        return {++uploads % 2 == 0, "no space"};
    }

    /// Reports the next event.
    void reportNext() {
        const std::lock_guard guard(lock_);
        if (client_ == nullptr) {
            return;
        }
        const Event& event = stream_[next_++ % stream_.size()];
        if (const auto* const record = std::get_if<palink::Record>(&event)) {
            client_->deliver(*record);
        } else if (const auto* const withdrawal = std::get_if<palink::Withdrawal>(&event)) {
            client_->deliver(*withdrawal);
        } else {
            client_->deliver(palink::Disconnected{"the server restarts"});
            reportConnected();
        }
    }

    std::atomic<long> operations{0};
    std::atomic<long> uploads{0};

private:
    void reportConnected() {
        client_->deliver(palink::Connected{server, server, false, {}});
        client_->deliver(palink::InitialSetComplete{});
    }

    std::mutex lock_;
    palink::ServerEventSink* client_ = nullptr;  // guarded by lock_
    std::size_t next_ = 0;                       // guarded by lock_
    const std::vector<Event> stream_;
};

/// Threads of an application, and of the server, that run until this is destroyed.
class Threads {
public:
    Threads(BusyServer& reporting, int applicationThreads) {
        for (int i = 0; i < applicationThreads; ++i) {
            start([this] { useController(rounds++); });
        }
        start([&reporting] { reporting.reportNext(); });
    }
    ~Threads() { over_ = true; }

    std::atomic<int> rounds{0};

private:
    template <class Body>
    void start(Body body) {
        threads_.push_back(std::make_unique<pa::PosixThread>("storm", [this, body] {
            while (!over_) {
                body();
            }
        }));
    }

    std::atomic<bool> over_{false};
    std::vector<std::unique_ptr<pa::PosixThread>> threads_;
};

/// Begins, with observers that throw and delete.
inline void beginWithObservers() {
    static auto& reentrant = *new ReentrantObserver;
    static auto& deleting = *new Deleting;
    begin();
    deletes = true;
    gPaController.registerObserver(&reentrant);
    gPaController.registerObserver(&deleting);
}

}  // namespace storm
