// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <ctime>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "../framework/api.h"
#include "../framework/eventQueue.h"
#include "../framework/fork.h"
#include "../framework/localMutex.h"
#include "../framework/log.h"
#include "../framework/threadAnnotations.h"
#include "../framework/threadClass.h"
#include "../include/common/tevlist.h"
#include "../resource/common/paInfo.h"
#include "AnnouncementRequest.h"
#include "Gain.h"
#include "Message.h"
#include "PAControllerObserver.h"
#include "ScheduleDefinition.h"
#include "TTSDictionary.h"
#include "lock.h"
#include "records/RecordCache.h"
#include "records/ScheduleCache.h"

namespace pa {
class Payload;
struct OperationType;
}  // namespace pa

/// Parameters of the reduced `playMessage`. A plain value.
struct PlayMessageParams {
    bool resumeOnInterruptFlag = false;  ///< reserved, must be false
    bool overrideExisting = false;       ///< accepted and not used
    unsigned validityPeriod = 0;         ///< accepted and not used
    unsigned priority = 0;               ///< accepted and not used
    unsigned mode = 0;                   ///< 1 sends the repeat value 0, any other sends 1
};

/// The client's image of the PA system: one cache for each kind of resource, filled from the
/// server's records, watched by observers, read through getters that return copies. Requests of the
/// application are checked here and queued as operations for the server.
///
/// Every public function may be called from any thread, also from inside an observer's callback.
/// The object lives as long as the process: its worker thread never ends.
class PA_API PAController final : public threadClass {
public:
    /// Starts the worker thread.
    /// @throws std::system_error when the thread or the mutex cannot be made
    PAController();
    PAController(const PAController&) = delete;
    PAController& operator=(const PAController&) = delete;
    ~PAController() override;

    /// The worker: renews the source locks of this client, gives up the previews that have waited
    /// for 90 s, then sleeps for 9000 ms; repeats this without end.
    int threadFunction(void* argument) override;

    /// @name Observers
    /// @{

    /// Adds an observer after those that are registered. Does not wait for a callback that is
    /// running. Null is ignored; one that is registered already is reported. There is no removal:
    /// an observer must outlive the controller.
    void registerObserver(PAControllerObserver* observer);
    /// @}

    /// @name Connection and withdrawal (for the server link)
    /// @{

    /// Empties every cache at a (re)connection to the server. Observers are notified of each
    /// deletion. The software triggers stay: they are this client's own. Called inside a delete
    /// callback it is carried out after the withdrawal in progress, before that one returns.
    void initPaResources();

    /// Removes what the server has withdrawn. Called inside a delete callback it is carried out
    /// after the withdrawal in progress, before that one returns: an entry is reported as deleted
    /// once.
    /// @param dstNo destination number of that server, 0 for any
    /// @param kind  number of a `pa::RecordKind` below 100, 0 for every kind
    /// @param key   cache key of the entry, 0 for every entry
    void deleteAudioVideoControllerInfo(int dstNo, int kind, int key);
    /// @}

    /// @name The two halves of the record handlers that pause
    /// `addUpdatePaSource` and `updateScheduleList` are the first half, the pause and the second
    /// half, on the calling thread. A server link that must not wait calls the halves itself. The
    /// second half reports the entry in its state at that time; it does nothing when the entry has
    /// been deleted.
    /// @{

    /// How long the records of sources and schedules pause between their merge into the cache and
    /// the notification of the observers, in ms: a synchronous operation that waits for the record
    /// sees it first.
    static constexpr int notificationPauseMS = 100;

    /// What the first half of a record that pauses has done.
    enum class MergeResult {
        Dropped,    ///< nothing; there is no second half
        Unchanged,  ///< no observer is called; the event is posted all the same
        Changed,
    };

    /// The first half for a source.
    [[nodiscard]] MergeResult mergePaSource(int key, TEVlist* record);
    /// The second half for a source.
    void notifyPaSource(int key, MergeResult result);
    /// The first half for a schedule.
    [[nodiscard]] MergeResult mergeSchedule(int scheduleId, TEVlist* record);
    /// The second half for a schedule.
    void notifySchedule(int scheduleId, MergeResult result);
    /// @}

    /// @name Sources
    /// @{

    /// Record handler. Pauses for 100 ms between the merge and the notification.
    void addUpdatePaSource(int key, TEVlist* record);

    /// Every source, in ascending key order.
    [[nodiscard]] std::vector<PaSource> getPaSources() const;

    /// The source with a cache key; nothing for an unknown one.
    [[nodiscard]] std::optional<PaSource> findPaSource(int key) const;

    /// Which client holds the lock of each source, in order of arrival. The entry of a source that
    /// the server has withdrawn stays until `initPaResources`.
    [[nodiscard]] std::vector<PaSourceLockStatus> getPaSourceLocks() const;

    /// Takes a source's lock for this client and waits until the server confirms it. The worker
    /// renews the lock from then on. Never throws. Inside an observer's callback the confirmation
    /// cannot arrive: the request is sent, and the call reports this and returns at once.
    /// @return whether this client holds the lock; false when there is no audio-server instance,
    ///         when the source is unknown or locked by another client, inside a callback, and after
    ///         `gMaxServerWaitTimeSeconds`
    [[nodiscard]] bool attachPaSource(int sourceId);

    /// Releases this client's lock of a source and waits until the server confirms it; as above.
    /// @return whether it is released; false when this client does not hold it
    bool detachPaSource(int sourceId);

    /// Renews the lock of every source that this client holds, as the worker does in each pass: for
    /// a connection that has been away. Does not wait.
    void renewSourceLocksNow();

    /// Starts the level-meter feed of the amplifier element that a source belongs to: its id
    /// divided by 100. An unknown source is ignored.
    void enablePaSourceVUMeter(int sourceId);

    /// Stops it.
    void disablePaSourceVUMeter(int sourceId);
    /// @}

    /// @name Sinks
    /// @{

    /// Record handler.
    void addUpdatePaSink(int elemNo, TEVlist* elemArgList);

    /// Every sink, in ascending key order, for any positive id; empty for 0 and for negative ids
    /// other than -1.
    [[nodiscard]] std::vector<PaSink> getPaSinks(int sourceId) const;

    /// Every sink, in ascending key order.
    [[nodiscard]] std::vector<PaSink> getPaSinks() const;

    /// The sink with a cache key; nothing for an unknown one.
    [[nodiscard]] std::optional<PaSink> findPaSink(int key) const;
    /// @}

    /// @name Zones
    /// @{

    /// Record handler.
    /// @param dstNo  destination number of the server that sent it
    /// @param elemNo cache key; a record with 0 for either of them is ignored
    void addUpdatePaZone(int dstNo, int elemNo, TEVlist* elemArgList);

    /// Record handler for the zones that are attached to a source.
    void addUpdateAttachedPaZone(int elemNo, TEVlist* elemArgList);

    /// Appends the ids of the zones attached to a source, in sorted order.
    void getAttachedPaZoneList(int sourceId, std::vector<std::string>* attachedPaZoneList) const;

    /// Every zone of the server in force, in ascending key order: those of the active audio server,
    /// without one those of the local server on an indirect connection, else none.
    [[nodiscard]] std::vector<PaZone> getPaZones() const;

    /// The zone with a cache key, as in its events; nothing for an unknown one. On an indirect
    /// connection whose active audio server is none, or the local one, a zone of the local server,
    /// else of the active one.
    [[nodiscard]] std::optional<PaZone> findPaZone(int key) const;
    /// @}

    /// @name Hardware triggers
    /// @{

    /// Record handler.
    void addUpdatePaTrigger(int elemNo, TEVlist* elemArgList);

    /// The hardware triggers of a source, in ascending key order; none for an id below 1.
    [[nodiscard]] std::vector<PaTrigger> getHwPaTriggers(int sourceId) const;

    /// Every hardware trigger, in ascending key order.
    [[nodiscard]] std::vector<PaTrigger> getHwPaTriggers() const;

    /// The hardware trigger with a cache key; nothing for an unknown one.
    [[nodiscard]] std::optional<PaTrigger> findHwPaTrigger(int key) const;

    /// The state of a hardware trigger, `UNKNOWN` for an unknown one.
    [[nodiscard]] PaTrigger::State getHwPaTriggerState(int triggerId) const;
    /// @}

    /// @name Software triggers
    /// This client's own: they exist only in this process, and the server receives their
    /// activations. Their state stays `INACTIVE`.
    /// @{

    /// Creates a software trigger. Nothing is sent.
    /// @param sourceId          source that it starts, above 0
    /// @param triggerPriority   0 to 100
    /// @param preChime          sent unchanged
    /// @param displayParameters sent unchanged
    /// @return its id, one above the highest there is; 0 for a value out of range and when there is
    ///         no audio server instance
    [[nodiscard]] int createSwPaTrigger(int sourceId, int triggerPriority,
                                        const std::string& preChime,
                                        const std::string& displayParameters);

    /// The same with neither chime nor display parameters.
    [[nodiscard]] int createSwPaTrigger(int sourceId, int triggerPriority);

    /// Forgets a software trigger. Nothing is sent; an unknown id is ignored.
    void deleteSwPaTrigger(int triggerId);

    /// Has the server start the announcement of a software trigger. An unknown id is reported, but
    /// for one below 1 or when there is no software trigger at all.
    void activateSwPaTrigger(int triggerId);

    /// Has the server stop it; as above.
    void deactivateSwPaTrigger(int triggerId);

    /// Every software trigger, in order of creation.
    [[nodiscard]] std::vector<PaSWTrigger> getSwPaTriggers() const;
    /// @}

    /// @name Selectors
    /// @{

    /// Record handler. Ignores a record with the key 0.
    void addUpdatePaSelector(int elemNo, TEVlist* elemArgList);

    /// The selectors of a source, in ascending key order; none for an id below 1.
    [[nodiscard]] std::vector<PaSelector> getPaSelectors(int sourceId) const;

    /// Every selector, in ascending key order.
    [[nodiscard]] std::vector<PaSelector> getPaSelectors() const;

    /// The selector with a cache key; nothing for an unknown one.
    [[nodiscard]] std::optional<PaSelector> findPaSelector(int key) const;

    /// The state of a selector, `DISABLED` for an unknown one.
    [[nodiscard]] PaSelector::State getPaSelectorState(int selectorId) const;

    /// Reserved: always empty.
    [[nodiscard]] std::vector<PaSink> getPaSinksForSelector(int selectorId) const;

    /// Reserved: these have no effect.
    void addPaSinkToSelector(int selectorId, int sinkId);
    /// Reserved.
    void deletePaSinkFromSelector(int selectorId, int sinkId);
    /// Reserved.
    void enablePaSelector(int selectorId);
    /// Reserved.
    void disablePaSelector(int selectorId);
    /// @}

    /// @name Text-to-speech ports
    /// @{

    /// Record handler. No observer is notified.
    void updateFromTTS_Ports(int portNo, TEVlist* record);

    /// Removes one port, or every port for 0. No observer is notified.
    void deleteFromTTS_Ports(int portNo);

    /// The vocalizers at 48000 Hz, in ascending port order: those that a message can use.
    [[nodiscard]] std::vector<TTSVocalizer> getTTSVocalizerList() const;
    /// @}

    /// @name Text-to-speech dictionary and previews
    /// @{

    /// Record handler. Completes the previews of the same text on the same port, and notifies the
    /// observers of every item through `onAudioMessageRetrievalComplete`.
    void updateFromTTS_Dictionary(int key, TEVlist* record);

    /// Removes one dictionary item, or every item for 0. No observer is notified; previews still
    /// wait.
    void deleteFromTTS_Dictionary(int key);

    /// Every dictionary item, in ascending key order.
    [[nodiscard]] std::vector<TTSDictionary> getTTSDictionaryList() const;

    /// Has a preview wait for its audio; one with the same key is replaced.
    /// @param requestKey the request id that observers will receive
    void addToTTSPreviewPendingList(const std::string& requestKey, TTSPendingInfo& info);
    /// @}

    /// @name Announcements
    /// @{

    /// Plays a message: `message.playAnnouncement(zones)`, with its exceptions and its result.
    std::string playMessage(const std::vector<std::string>& zones, Message& message);

    /// Plays dictionary items in zones and displays a text on visual devices, each when both its
    /// lists or texts are given. The requests have no id.
    /// @param visualText null for none
    /// @param mode       1 sends the repeat value 0, any other sends 1
    /// @return 0
    /// @throws std::invalid_argument when `resumeOnInterruptFlag` is set
    unsigned playMessage(const std::vector<std::string>& zones,
                         const std::vector<std::string>& visualDevices, const Gain& gain,
                         const std::vector<unsigned>& dictionaryItems, const char* visualText,
                         bool resumeOnInterruptFlag, bool overrideExisting, unsigned validityPeriod,
                         unsigned priority, unsigned mode);

    /// The same, with the last five parameters in a record.
    unsigned playMessage(const std::vector<std::string>& zones,
                         const std::vector<std::string>& visualDevices, const Gain& gain,
                         const std::vector<unsigned>& dictionaryItems, const char* visualText,
                         const PlayMessageParams& params);

    /// 0 cancels the dictionary announcements; any other number is reported and nothing is sent.
    void cancelMessage(unsigned messageId);

    /// Cancels the announcement with the request id that `playMessage` returned.
    void cancelMessage(const std::string& requestId);

    /// Cancels every announcement of the type.
    void cancelMessage(Message::Type messageType);

    /// Record handler.
    void addUpdateAnnouncementRequest(int elemNo, TEVlist* elemArgList);

    /// The announcement requests that are active on the server, in ascending key order.
    [[nodiscard]] std::vector<AnnouncementRequest> getAnnouncementRequests() const;

    /// The announcement request with a cache key; nothing for an unknown one.
    [[nodiscard]] std::optional<AnnouncementRequest> findAnnouncementRequest(int key) const;
    /// @}

    /// @name Schedules
    /// The server plays them by itself. The cache changes when the server reports the change, not
    /// when it is requested.
    /// @{

    /// Has the server keep a schedule under an identifier of the caller's. Returns at once.
    /// @throws std::invalid_argument when `Id` is not above 0, no announcement is set, a content is
    ///                               empty or no zone is given; the text names the fault
    void createSchedule(const ScheduleDefinition& def);

    /// Has the server replace the schedule with this identifier; as above.
    void modifySchedule(const ScheduleDefinition& def);

    /// Has the server keep a new schedule and waits until the server reports it. Inside an
    /// observer's callback it cannot wait: the request is sent, and the call throws at once as if
    /// it had waited.
    /// @param def its `Id` is 0
    /// @return the identifier that the server has given it
    /// @throws std::invalid_argument when `Id` is not 0, for the contents as above, and after
    ///                               `gMaxServerWaitTimeSeconds`, when the schedule may still come
    [[nodiscard]] int createScheduleSync(const ScheduleDefinition& def);

    /// Has the server delete a schedule. An unknown one is ignored. Does not wait for a callback
    /// that is running.
    /// @throws std::invalid_argument when the identifier is not above 0
    void deleteSchedule(int scheduleId);

    /// Record handler. Pauses for 100 ms between the merge and the notification.
    void updateScheduleList(int scheduleId, TEVlist* record);

    /// Every schedule, in order of arrival. The descriptions are those that the application gave.
    [[nodiscard]] std::vector<ScheduleDefinition> listSchedules() const;

    /// The schedule with an identifier, described as above; nothing for an unknown one.
    [[nodiscard]] std::optional<ScheduleDefinition> findSchedule(int scheduleId) const;
    /// @}

    /// @name User recordings
    /// Each returns at once; the server reports a failure.
    /// @{

    /// Starts a recording into a file of the server. The path is sent unchanged.
    void startUserRecording(const std::string& absolutePathWithFileName);

    /// Stops the recording.
    void stopUserRecording();

    /// Plays a recording back to the user.
    void previewUserRecording(const std::string& absolutePathWithFileName);

    /// Deletes a recording.
    void deleteUserRecording(const std::string& absolutePathWithFileName);
    /// @}

private:
    friend class Message;
    struct WithdrawalTable;

    template <class Cache, class Argument>
    struct WithdrawalRow;

    using ObserverList = std::vector<PAControllerObserver*>;

    /// Calls `slot` on every observer in registration order, each with its own copies; the last one
    /// takes the arguments themselves where they are temporary. An observer that throws is reported
    /// and the next one called.
    template <class... Parameters, class... Arguments>
    void notifyObservers(void (PAControllerObserver::*slot)(Parameters...),
                         Arguments&&... arguments);

    /// The same, as long as the condition holds between the calls: an observer that has been
    /// notified of a deletion must not be notified of the entry afterwards.
    template <class Condition, class... Parameters, class... Arguments>
    void notifyWhile(Condition holds, void (PAControllerObserver::*slot)(Parameters...),
                     Arguments&&... arguments);

    /// Notifies the observers of a changed entry and posts its event. Stops when a callback deletes
    /// the entry.
    template <class Record>
    void publish(pa::RecordCache<Record>& cache, typename pa::RecordCache<Record>::iterator entry,
                 bool changed, void (PAControllerObserver::*slot)(Record),
                 EventItem::EVENT_TYPE event) PASDK_REQUIRES(paControllerMtx);

    template <class Cache, class Argument>
    void deleteEntries(const WithdrawalRow<Cache, Argument>& row, int key)
        PASDK_REQUIRES(paControllerMtx);

    /// The arguments of a call of deleteAudioVideoControllerInfo.
    struct WithdrawalRequest {
        int dstNo;
        int kind;
        int key;
    };
    /// The withdrawal in progress, and those that its callbacks have requested.
    struct Withdrawals {
        bool isRunning = false;
        std::deque<WithdrawalRequest> waiting;
        bool resetWaits = false;  // an initPaResources, after all of these
    };
    void removeWithdrawn(const WithdrawalRequest& withdrawal) PASDK_REQUIRES(paControllerMtx);
    void runWithdrawals() PASDK_REQUIRES(paControllerMtx);

    /// The outcome of a request for a change of a lock.
    struct LockRequestResult {
        bool isDone;                      // the lock is already as requested
        std::optional<std::time_t> sent;  // when the request was sent; nothing when it was not
    };
    pa::ForkHooks forkHooks();
    /// In registration order; not owned. Valid for good: a registration makes another list.
    const ObserverList& observers() const;
    void reportThrowingObserver();
    void renewSourceLocks() PASDK_REQUIRES(paControllerMtx);
    void giveUpOldPreviews() PASDK_REQUIRES(paControllerMtx);
    bool mayWaitForServer(const char* caller) const;
    void updateLockStatus(int sourceId, const std::string& lockedUUID)
        PASDK_REQUIRES(paControllerMtx);
    void forgetLocks() PASDK_REQUIRES(paControllerMtx);
    /// The entry of a source, null for none.
    PaSourceLockStatus* lockOf(int sourceId) PASDK_REQUIRES(paControllerMtx);
    bool changeLock(const char* caller, int sourceId, bool attaching);
    LockRequestResult requestLockChange(int sourceId, const std::string& self, bool attaching);
    void subscribeVUMeter(bool subscribe, int sourceId);
    bool hasSwTriggers() const;
    void sendSwTrigger(int triggerId, const char* caller, pa::OperationType type,
                       pa::Payload (*payloadOf)(const PaSWTrigger&));
    std::string completePreviews(const TTSDictionary& item) PASDK_REQUIRES(paControllerMtx);
    std::optional<std::string> takeOldPreview(std::time_t now,
                                              const std::optional<std::string>& after)
        PASDK_REQUIRES(paControllerMtx);
    void passMutex() const;
    std::string createScheduleHelper(bool serverAssignsId, const ScheduleDefinition& def);
    std::optional<int> idOfRequest(const std::string& requestUUID);
    /// The stored schedule, null for none. Valid while the mutex is held.
    ScheduleDefinition* scheduleOf(int scheduleId) PASDK_REQUIRES(paControllerMtx);
    void notifyUploadFailed(const std::string& requestId);

    pa::RecordCache<PaSource> availablePaSources PASDK_GUARDED_BY(paControllerMtx);
    /// In order of arrival.
    std::vector<PaSourceLockStatus> availablePaSourcesLockStatus PASDK_GUARDED_BY(paControllerMtx);
    pa::RecordCache<PaSink> availablePaSinks PASDK_GUARDED_BY(paControllerMtx);
    pa::RecordCache<PaTrigger> availablePaTriggersHW PASDK_GUARDED_BY(paControllerMtx);
    std::vector<PaSWTrigger> availablePaTriggersSW PASDK_GUARDED_BY(lookupLock);
    pa::RecordCache<PaSelector> availablePaSelectors PASDK_GUARDED_BY(paControllerMtx);
    /// By element number of the source record.
    std::map<int, std::set<std::string>> attachedPaZonesToPaSourceList
        PASDK_GUARDED_BY(paControllerMtx);

    /// Held across callbacks of observers, hence re-entrant. Taken before lookupLock.
    mutable qxLocalMutex paControllerMtx{true};
    /// Guards what is searched or cleared without waiting for a callback that is running. What it
    /// guards changes under both locks, but for the registration of observers and the last step of
    /// initPaResources.
    mutable pa::LeafLock lookupLock;

    /// One after each registration. None is changed or removed, so that the last one is read
    /// without a lock.
    std::deque<ObserverList> observerLists PASDK_GUARDED_BY(lookupLock){ObserverList()};
    std::atomic<const ObserverList*> paControllerObservers{&observerLists.back()};

    pa::RecordCache<PaZone> availablePaZonesPrimaryServer PASDK_GUARDED_BY(paControllerMtx);
    pa::RecordCache<PaZone> availablePaZonesLocalServer PASDK_GUARDED_BY(paControllerMtx);
    pa::ScheduleCache scheduleList PASDK_GUARDED_BY(lookupLock);
    pa::RecordCache<TTSVocalizer> ttsVocalizertList PASDK_GUARDED_BY(paControllerMtx);
    pa::RecordCache<TTSDictionary> ttsDictionaryList PASDK_GUARDED_BY(paControllerMtx);
    /// By request id.
    std::map<std::string, TTSPendingInfo> ttsPendingPreviewList PASDK_GUARDED_BY(lookupLock);
    pa::RecordCache<AnnouncementRequest> activeAnnouncementRequestList PASDK_GUARDED_BY(lookupLock);

    /// Where availablePaSourcesLockStatus has the first entry of a source.
    std::unordered_map<int, std::size_t> lockIndex PASDK_GUARDED_BY(paControllerMtx);
    Withdrawals withdrawals PASDK_GUARDED_BY(paControllerMtx);

    /// Keeps both locks, and what they guard, usable in the child of fork().
    pa::ForkParticipant acrossFork;
};

/// The controller of the process: ready before main and in every static constructor (but for one
/// with an init_priority of 101), never destroyed.
extern PA_API PAController& gPaController;
