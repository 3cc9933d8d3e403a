#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "framework/posixThread.h"
#include "link/embedded/EmbeddedTransport.h"
#include "simserver/audio/LevelMeters.h"
#include "simserver/audio/SpeechRenderer.h"
#include "simserver/audio/UploadFolder.h"
#include "simserver/audio/UserRecorder.h"
#include "simserver/playback/Activity.h"
#include "simserver/playback/LiveAnnouncements.h"
#include "simserver/playback/PlayEngine.h"
#include "simserver/playback/PlayableContent.h"
#include "simserver/playback/SourceLocks.h"
#include "simserver/schedules/Scheduler.h"
#include "simserver/station/Station.h"

namespace simserver {

struct Options {
    double speed = 1.0;             ///< simulated seconds per real second, above 0
    bool manualTime = false;        ///< no thread: time passes through `advance` alone
    std::filesystem::path spool;    ///< where uploads go; empty: a temporary folder of its own
    std::filesystem::path state{};  ///< where schedules are kept; empty: they end with the server
    std::optional<std::time_t> clock{};  ///< its wall clock at the start; nothing: the host's
};

/// The simulated audio server: holds a station, plays announcements in simulated time and tells the
/// client of every change.
///
/// Every function may be called from any thread. One lock guards the whole server. The client is
/// told with the lock held, so it must only queue what it is told; while its queue is full the
/// server waits. So no function may be called by what the client's queue waits for, the callbacks
/// of observers. The rules of the play are those of `PlayEngine`.
class SimServer final : public palink::EmbeddedServer, private PlayHost {
public:
    /// @throws std::invalid_argument for a speed that is not above 0
    /// @throws std::filesystem::filesystem_error when the spool folder cannot be made
    /// @throws std::runtime_error when the schedules that are kept cannot be read or kept further
    explicit SimServer(Station station, Options options = {});
    ~SimServer() override;

    void connectClient(palink::ServerEventSink& client) override;
    void disconnectClient() override;
    void handleOperation(const pa::Operation& operation) override;
    void meterLevel(bool subscribe, int element) override;
    palink::UploadResult storeFile(const std::string& localPath,
                                   const std::string& serverPath) override;

    /// With manual time: lets `simulated` pass and plays everything that falls due, in order of
    /// time. Locks lapse by real time all the same: they are looked at, also after 0 ms.
    void advance(std::chrono::milliseconds simulated);

    /// @name The server's own side
    /// @{

    /// Does what another client asks for, beside the connected one. That one hears of what changes,
    /// and of no refusal.
    /// @return why it is refused, nothing when it is done
    std::optional<std::string> operateAsOther(const pa::Operation& operation);

    /// Closes or opens the contact of a hardware trigger.
    /// @throws Refused when there is no such trigger
    void setTrigger(int triggerId, bool active);

    /// Puts a selector into a state, by the number of its records.
    /// @throws Refused when there is no such selector or state
    void setSelector(int selectorId, int state);

    /// While on, extensions of source locks are ignored, as if they were lost on the way.
    void withholdRenewals(bool on);

    /// While on, whatever the client asks gets lost on the way: nothing is done, nothing answered.
    void withholdRequests(bool on);

    /// Drops the client's connection.
    void dropClient();

    /// Waits until every text that was asked for has been spoken and reported.
    void waitUntilSpoken();
    /// @}

private:
    struct OperationRow {
        pa::OperationType type;
        void (SimServer::*perform)(const std::string& payload);
    };
    static const OperationRow operations[];

    /// Something that happens at times of its own, in simulated time.
    struct TimedRow {
        std::optional<SimTime> (SimServer::*next)() const;
        void (SimServer::*takeDue)();
    };
    static const TimedRow timed[];

    void perform(const pa::Operation& operation);
    void play(const std::string& payload);
    void cancel(const std::string& payload);
    std::string newRequestId(const std::string& kind = "server");

    // Sources.
    void attachSource(const std::string& payload);
    void detachSource(const std::string& payload);
    void extendLock(const std::string& payload);
    void attachZones(const std::string& payload);
    void detachZones(const std::string& payload);
    void setSourceGain(const std::string& payload);
    void lapseLocks();
    Source& sourceOf(int id);
    void changeZones(Source& source, std::vector<std::string> zones);
    void followClient(const Source& source, const std::string& whyEnded);
    void follow(const Opening& opening, const Source& source, int level,
                const std::vector<std::string>& zones, const std::string& whyEnded);
    void tellSource(const Source& source);

    // Sinks.
    void setSinkGain(const std::string& payload);
    void setMonitoring(const std::string& payload);
    void resetSink(const std::string& payload);
    std::optional<SimTime> nextReset() const;
    void endResets();

    // Triggers and selectors.
    void activateSoftwareTrigger(const std::string& payload);
    void deactivateSoftwareTrigger(const std::string& payload);
    void turn(Trigger& trigger, bool active);
    void turn(Selector& selector, int state);
    void followTrigger(const Trigger& trigger, const std::string& whyEnded);
    std::optional<SimTime> nextTimetableChange() const;
    void followTimetables();

    // Previews and user recordings.
    void retrieveAudio(const std::string& payload);
    void tellPreview(const Preview& preview);
    void startRecording(const std::string& payload);
    void stopRecording(const std::string& payload);
    void deleteRecording(const std::string& payload);
    void previewRecording(const std::string& payload);
    std::optional<SimTime> nextRecordingEnd() const;
    void endRecording();

    // Schedules.
    void putSchedule(const std::string& payload);
    void deleteSchedule(const std::string& payload);
    void tellSchedule(const Schedule& schedule);
    RequestPart playedPart(const SchedulePart& scheduled) const;
    std::optional<SimTime> nextScheduledRun() const;
    void playSchedules();

    // Time.
    std::time_t wallTime() const;
    void runClock();
    SimTime clockTime() const;
    std::int64_t meterTimeMS() const;
    void catchUp();
    void playUntil(SimTime time);
    void settle();
    std::optional<SimTime> nextDue() const;
    std::optional<double> realMSToNextDue() const;
    std::optional<SimTime> nextEnd() const;
    void playDue();
    std::optional<SimTime> nextSimulatedReading() const;
    void readMeters();

    void tell(palink::ServerEvent event);
    void tellRecord(pa::RecordKind kind, int key, pa::RecordFields fields);
    void tellGone(pa::RecordKind kind, int key);
    void tellAll();
    void tellActivity();
    std::optional<SimTime> lengthOf(const RequestPart& part) override;
    void partChanged(const PlayPart& part) override;

    const Options options_;
    const UploadFolder spool_;
    const std::time_t epoch_;     // wall clock at simulated time 0
    const std::int64_t startMS_;  // real time at simulated time 0

    std::mutex lock_;
    std::condition_variable changed_;
    // Guarded by lock_.
    Station station_;  // what the client cannot change is as at the start
    const PlayableContent repertoire_;
    PlayEngine engine_;
    Activity activity_;
    SourceLocks locks_;
    LiveAnnouncements live_;
    LevelMeters meters_;
    UserRecorder recorder_;
    Scheduler schedules_;
    std::map<int, SimTime> resets_;  // by sink: when it comes back
    SimTime timetablesDone_{-1};     // so far
    SimTime now_{0};
    palink::ServerEventSink* client_ = nullptr;
    std::string requestId_;  // of the operation at hand, once it is known
    int lastOwnId_ = 0;
    bool renewalsWithheld_ = false;
    bool requestsWithheld_ = false;
    bool stopping_ = false;

    std::unique_ptr<pa::PosixThread> clock_;  // null with manual time
    SpeechRenderer studio_;                   // locks for itself; its reports take lock_
};

}  // namespace simserver
