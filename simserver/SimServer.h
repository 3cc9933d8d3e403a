// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "framework/posixThread.h"
#include "link/embedded/EmbeddedTransport.h"
#include "simserver/Options.h"
#include "simserver/ServerContext.h"
#include "simserver/SimControl.h"
#include "simserver/audio/LevelMeters.h"
#include "simserver/audio/Recordings.h"
#include "simserver/audio/Speech.h"
#include "simserver/playback/LiveAnnouncements.h"
#include "simserver/playback/Playback.h"
#include "simserver/playback/Sinks.h"
#include "simserver/playback/Sources.h"
#include "simserver/playback/Triggers.h"
#include "simserver/schedules/Schedules.h"

namespace simserver {

/// The simulated audio server: holds a station, plays announcements in simulated time and reports
/// every change to its client. The rules of the play are those of `PlayEngine`.
///
/// Every function may be called from any thread. One lock guards the whole server. Events are
/// delivered with the lock held, so the client must only queue them; while its queue is full the
/// server waits. So no function may be called by what the client's queue waits for, the callbacks
/// of observers.
class SimServer final : public palink::EmbeddedServer {
public:
    /// @throws std::invalid_argument for a speed that is not above 0
    /// @throws std::filesystem::filesystem_error, pautil::FileError when there can be no upload
    ///         folder
    /// @throws std::runtime_error when the state folder is in use or cannot be read: see StateStore
    explicit SimServer(Station station, const Options& options = {});
    ~SimServer() override;

    void connectClient(palink::ServerEventSink& client) override;
    void disconnectClient() override;
    void handleOperation(const pa::Operation& operation) override;
    void finishReports() override { const std::lock_guard guard(lock_); }
    void meterLevel(bool subscribe, int element) override;
    palink::UploadResult storeFile(const std::string& localPath,
                                   const std::string& serverPath) override;

    /// With manual time: lets `simulated` pass and plays everything that falls due, in order of
    /// time. Source locks lapse by the real clock; they are checked too, also after 0 ms.
    void advance(std::chrono::milliseconds simulated);

    /// Does what a client asks for, whichever it is and whatever is ignored. The connected client
    /// receives the changes, but no refusal.
    /// @return why it is refused, nothing when it is done
    std::optional<palink::Refusal> operate(const pa::Operation& operation);

    /// The wall clock of the server, in ms since 1970 UTC.
    [[nodiscard]] std::int64_t clockMS() const;

    /// Where uploads are put.
    [[nodiscard]] const UploadFolder& uploads() const { return context_.uploads; }

    /// @name As the functions of SimControl with these names
    /// @{

    /// As the function of `SimControl` with this name.
    void setTrigger(int triggerId, bool active);
    void setSelector(int selectorId, int state);
    void lockSource(int sourceId, const std::string& client);
    void unlockSource(int sourceId, const std::string& client);
    void ignoreRenewals(bool on);
    void ignoreRequests(bool on);
    IgnoredOperations ignored() const;
    Contents contents() const;
    void dropClient();
    /// @}

    /// Waits until every text that was requested has been spoken and reported.
    void waitUntilSpoken();

private:
    struct OperationRow;
    static const OperationRow operations[];

    void perform(const pa::Operation& operation);
    void publishAll();
    void runClock();
    std::optional<double> realMSToNextDue() const;
    void catchUp();
    void playUntil(SimTime time);
    void settle();

    mutable std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    ServerContext context_;
    Playback playback_;
    LiveAnnouncements live_;
    Sinks sinks_;
    Triggers triggers_;
    Sources sources_;
    LevelMeters meters_;
    Recordings recordings_;
    Schedules schedules_;
    TimedPart* const timed_[6];  // in the order in which what is due at one time happens
    bool requestsIgnored_ = false;
    bool stopping_ = false;

    std::unique_ptr<pa::PosixThread> clockThread_;  // null with manual time
    Speech speech_;  // its destructor waits for a thread that takes lock_
};

}  // namespace simserver
