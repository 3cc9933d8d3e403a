// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "link/embedded/EmbeddedTransport.h"
#include "tests/host/Transcript.h"

/// A server that reports what the test chooses. Its calls take its lock for a moment, as the calls
/// of a server do that reports with its lock held: a test that has the lock holds them back.
class ScriptedServer : public palink::EmbeddedServer {
public:
    void connectClient(palink::ServerEventSink& client) override {
        ++attempts;
        if (!takesClients) {
            throw std::runtime_error("closed");
        }
        onConnect();
        client_ = &client;
        palink::Connected connected{3, 4, true, {}};
        connected.serverInfo.set("name", "Test");
        say(connected);
        saySource();
        say(palink::Record{4, pa::RecordKind::Zone, 1, {"Z"}});
        say(palink::InitialSetComplete{});
    }
    void disconnectClient() override {
        {
            const std::lock_guard guard(lock);
            client_ = nullptr;
        }
        onDisconnect();
    }
    void handleOperation(const pa::Operation& operation) override {
        onOperation(operation);
        const std::lock_guard guard(lock);
        operations_.push_back(operation.payload);
        handled_.notify_all();
    }
    void meterLevel(bool subscribe, int element) override {
        const std::lock_guard guard(lock);
        feeds.add((subscribe ? "+" : "-") + std::to_string(element) + " ");
    }
    void finishReports() override { const std::lock_guard guard(lock); }
    palink::UploadResult storeFile(const std::string& /*localPath*/,
                                   const std::string& serverPath) override {
        const std::lock_guard guard(lock);
        return serverPath != "/bad" ? palink::UploadResult{true, ""}
                                    : palink::UploadResult{false, "no space"};
    }

    /// Source 1, with its lock.
    void saySource() {
        say(palink::Record{
            3, pa::RecordKind::Source, 1, {"1", "", "", "", "", "", "", "", "", lockHolder, "3"}});
    }
    void say(palink::ServerEvent event) {
        if (palink::ServerEventSink* const client = client_) {
            client->deliver(std::move(event));
        }
    }
    bool hasClient() const { return client_ != nullptr; }

    /// The payloads of the operations that it has handled, in order, once there are so many.
    std::vector<std::string> operations(std::size_t count = 0) {
        std::unique_lock guard(lock);
        handled_.wait(guard, [&] { return operations_.size() >= count; });
        return operations_;
    }

    std::mutex lock;
    Transcript feeds;        // the level meters that were switched
    std::string lockHolder;  // set while it is not connecting a client
    std::atomic<bool> takesClients{true};
    std::atomic<int> attempts{0};  // to connect

    // Called without the lock; set before the link starts.
    std::function<void(const pa::Operation&)> onOperation = [](const pa::Operation&) {};
    std::function<void()> onConnect = [] {};  // before the client is noted
    std::function<void()> onDisconnect = [] {};

private:
    std::atomic<palink::ServerEventSink*> client_{nullptr};
    std::condition_variable handled_;
    std::vector<std::string> operations_;
};
