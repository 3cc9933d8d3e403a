#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include "link/Router.h"
#include "link/Transport.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/QXReceiver.h"

namespace palink {

/// The client's connection to its audio server: joins a transport to the controller, the send queue
/// and the facade.
///
///     auto& audioServer = *new AudioServer(gPaController);
///     palink::ServerLink link(audioServer, transport);
///     link.start();
///     if (!link.waitUntilReady(std::chrono::seconds(5))) ...
///
/// `start` and `stop` are called by one thread; the other functions by any. None but `isConnected`
/// and the setters of handlers may be called from a callback.
class ServerLink final : private ServerEventSink, private pa::OperationSender {
public:
    /// Told why the server will not do what an operation asks for. Called on a thread of the
    /// transport, without the controller's mutex. An exception that leaves it is reported.
    using RefusalHandler = std::function<void(const Refusal&)>;

    /// Told what the level meters show. Called as above; must not block.
    using LevelHandler = std::function<void(const LevelReading&)>;

    /// @param audioServer the facade of the process, never destroyed: the worker uses it
    /// @param transport   must outlive the link
    ServerLink(AudioServer& audioServer, Transport& transport);
    ServerLink(const ServerLink&) = delete;
    ServerLink& operator=(const ServerLink&) = delete;
    /// Stops.
    ~ServerLink() override;

    /// Sets the process's `gAudioServerInstance` and begins to connect. The application sets
    /// `gDeviceIPAddress` before.
    void start();

    /// Ends the connection; operations wait in the send queue from now on. `gAudioServerInstance`
    /// stays.
    void stop();

    /// Waits until everything that the server holds is in the caches.
    /// @return false when that takes longer than `limit`
    bool waitUntilReady(std::chrono::milliseconds limit);

    /// Waits until every record that has been delivered so far has been handled.
    void waitUntilHandled();

    bool isConnected() const;

    /// Replaces the handler of refusals; without one they are reported through `handleError`.
    void setRefusalHandler(RefusalHandler handler);

    /// Replaces the handler of level readings; without one they are dropped.
    void setLevelHandler(LevelHandler handler);

private:
    void deliver(ServerEvent event) override;                     // by the transport
    bool sendOperation(const pa::Operation& operation) override;  // by the send queue

    void on(const Connected& connected);
    void on(const Disconnected& disconnected);
    void on(Record record);
    void on(const Withdrawal& withdrawal);
    void on(const Refusal& refusal);
    void on(const LevelReading& reading);
    void on(const InitialSetComplete& complete);
    template <class What>
    bool tell(const std::function<void(const What&)>& handler, const What& what);
    void setState(bool connected, bool ready);
    int upload(const std::string& localPath, const std::string& serverPath);

    AudioServer& audioServer_;
    Transport& transport_;
    Router router_;
    bool started_ = false;  // of start and stop alone

    mutable std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    bool connected_ = false;
    bool ready_ = false;
    RefusalHandler refusalHandler_;
    LevelHandler levelHandler_;
};

}  // namespace palink
