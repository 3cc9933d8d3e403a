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
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"

/// A server that reports what the test chooses.
class ScriptedServer : public palink::EmbeddedServer {
public:
    void connectClient(palink::ServerEventSink& client) override {
        ++attempts;
        if (!takesClients) {
            throw std::runtime_error("closed");
        }
        if (onConnect) {
            onConnect();
        }
        client_ = &client;
        palink::Connected connected;
        connected.localDstNo = 3;
        connected.activeDstNo = 4;
        connected.indirect = true;
        connected.serverInfo.set("name", "Test");
        say(connected);
        saySource();
        say(palink::Record{4, pa::RecordKind::Zone, 1, {"Z"}});
        say(palink::InitialSetComplete{});
    }
    void disconnectClient() override {
        client_ = nullptr;
        if (onDisconnect) {
            onDisconnect();
        }
    }
    void handleOperation(const pa::Operation& operation) override {
        if (onOperation) {
            onOperation(operation);
        }
        note(operations_, operation.payload);
    }
    void meterLevel(bool subscribe, int element) override {
        if (onMeter) {
            onMeter();
        }
        note(feeds_, (subscribe ? "+" : "-") + std::to_string(element));
    }
    palink::UploadResult storeFile(const std::string& /*localPath*/,
                                   const std::string& serverPath) override {
        return serverPath == "/good" ? palink::UploadResult{true, ""}
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

    /// The payloads of the operations that it has handled, in order, once there are so many.
    std::vector<std::string> operations(std::size_t count = 0) {
        return waitFor(operations_, count);
    }
    /// The level meters that were switched, once there are so many.
    std::vector<std::string> feeds(std::size_t count = 0) { return waitFor(feeds_, count); }

    std::string lockHolder;  // set while it is not connecting a client
    std::atomic<bool> takesClients{true};
    std::atomic<int> attempts{0};  // to connect

    bool hasClient() const { return client_ != nullptr; }

    // Called before anything else, set before the link starts.
    std::function<void(const pa::Operation&)> onOperation;
    std::function<void()> onMeter;
    std::function<void()> onDisconnect;
    std::function<void()> onConnect;  // before the client is noted; set before it connects

private:
    using Notes = std::vector<std::string>;

    void note(Notes& notes, const std::string& text) {
        const std::lock_guard guard(lock_);
        notes.push_back(text);
        changed_.notify_all();
    }
    Notes waitFor(const Notes& notes, std::size_t count) {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return notes.size() >= count; });
        return notes;
    }

    std::atomic<palink::ServerEventSink*> client_{nullptr};
    std::mutex lock_;
    std::condition_variable changed_;
    Notes operations_;
    Notes feeds_;
};

/// A facade of its own for each test, never destroyed.
inline AudioServer& newFacade() {
    static auto& facades = *new std::vector<AudioServer*>;
    facades.push_back(new AudioServer(gPaController));
    return *facades.back();
}
