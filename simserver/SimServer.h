#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "framework/posixThread.h"
#include "link/EmbeddedTransport.h"
#include "simserver/Activity.h"
#include "simserver/PlayEngine.h"
#include "simserver/Repertoire.h"
#include "simserver/Spool.h"
#include "simserver/Station.h"

namespace simserver {

struct Options {
    double speed = 1.0;           ///< simulated seconds per real second, above 0
    bool manualTime = false;      ///< no thread: time passes through `advance` alone
    std::filesystem::path spool;  ///< where uploads go; empty: a temporary folder of its own
};

/// The simulated audio server: holds a station, plays announcements in simulated time and tells the
/// client of every change.
///
/// Every function may be called from any thread. One lock guards the whole server; the client is
/// told with the lock held, so it must only queue what it is told. The rules of the play are those
/// of `PlayEngine`.
class SimServer final : public palink::EmbeddedServer, private PlayHost {
public:
    /// @throws std::invalid_argument for a speed that is not above 0
    /// @throws std::filesystem::filesystem_error when the spool folder cannot be made
    explicit SimServer(Station station, Options options = {});
    ~SimServer() override;

    void connectClient(palink::ServerEventSink& client) override;
    void disconnectClient() override;
    void handleOperation(const Operation& operation) override;
    void meterLevel(bool subscribe, int element) override;
    palink::UploadResult storeFile(const std::string& localPath,
                                   const std::string& serverPath) override;

    /// With manual time: lets `simulated` pass and plays everything that falls due, in order of
    /// time.
    void advance(std::chrono::milliseconds simulated);

private:
    void handlePlay(const std::string& payload, std::string& requestId);
    void handleCancel(const std::string& payload, std::string& requestId);
    std::string newRequestId();

    void runClock();
    SimTime clockTime() const;
    void playUntil(SimTime time);

    void tell(palink::ServerEvent event);
    void tellAll();
    void tellActivity();
    std::optional<SimTime> lengthOf(const RequestPart& part) override;
    void partChanged(const PlayPart& part) override;

    const Station station_;
    const Options options_;
    const Spool spool_;
    const Repertoire repertoire_;
    const std::time_t epoch_;     // wall clock at simulated time 0
    const std::int64_t startMS_;  // real time at simulated time 0

    std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    PlayEngine engine_;
    Activity activity_;
    SimTime now_{0};
    palink::ServerEventSink* client_ = nullptr;
    int lastOwnId_ = 0;
    bool stopping_ = false;

    std::unique_ptr<PosixThread> clock_;  // null with manual time
};

}  // namespace simserver
