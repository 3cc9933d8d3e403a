// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "../resource/common/paInfo.h"
#include "AnnouncementRequest.h"
#include "ScheduleDefinition.h"

/// Receives the changes of the controller's caches. An observer is owned by the application, is
/// never removed, and must outlive the controller.
///
/// Every callback runs with the controller's mutex held: on a thread of the server link, for what
/// has waited too long on the controller's worker, and on that of a caller who deletes entries or
/// empties the caches; only `onMessageDelete` after a failed upload runs on the thread that played
/// the message, with the locks that it holds. A callback may call getters and operations of the
/// controller; it must not wait for another thread that does, nor for an answer of the server, as
/// playing a message with a local file does. `attachPaSource`, `detachPaSource` and
/// `createScheduleSync` send their request and give up at once. A withdrawal that a delete callback
/// requests is carried out after the one in progress; when a callback deletes an entry, the
/// observers after it are notified of the deletion only. An exception that leaves a callback is
/// reported and the next observer is called.
class PAControllerObserver {
public:
    /// Why a retrieval has no audio.
    enum MessageRetrievalError : int {
        MRE_NO_ERROR = 0,
        MRE_TIMED_OUT = 1,
        MRE_INVALID_PARAMS = 2
    };

    virtual void onPaSourceUpdate(PaSource source) = 0;     ///< added or changed
    virtual void onPaSourceDelete(int sourceId) = 0;        ///< deleted
    virtual void onPaSinkUpdate(PaSink sink) = 0;           ///< added or changed
    virtual void onPaSinkDelete(int sinkId) = 0;            ///< deleted
    virtual void onPaTriggerUpdate(PaTrigger trigger) = 0;  ///< hardware trigger added or changed
    virtual void onPaTriggerDelete(int triggerId) = 0;      ///< hardware trigger deleted
    virtual void onPaSelectorUpdate(PaSelector selector) = 0;        ///< added or changed
    virtual void onPaSelectorDelete(int selectorId) = 0;             ///< deleted
    virtual void onScheduleUpdate(ScheduleDefinition schedule) = 0;  ///< added or changed
    virtual void onScheduleDelete(ScheduleDefinition schedule) = 0;  ///< deleted
    virtual void onPaZoneUpdate(PaZone zone) = 0;                    ///< added or changed
    virtual void onPaZoneDelete(std::string zoneId) = 0;             ///< deleted

    /// An audio retrieval or a spoken preview has finished or expired. Called for every item of the
    /// server's dictionary, too. The server reports a rendering that failed under the request's own
    /// id; the preview still waits then, and expires later under the same id.
    /// @param requestId of the retrieval (the last in order when one item answers several), or the
    ///                  item's UUID when it answers none, or comes before the retrieval is noted
    /// @param success   whether there is audio
    /// @param error     why not: `MRE_INVALID_PARAMS` not rendered, `MRE_TIMED_OUT` not answered
    ///                  within 90 s
    /// @param uri       where the audio can be fetched
    virtual void onAudioMessageRetrievalComplete(const std::string& requestId, bool success,
                                                 MessageRetrievalError error,
                                                 const std::string& uri) = 0;

    virtual void onMessageUpdate(AnnouncementRequest request) = 0;  ///< added or changed
    virtual void onMessageDelete(AnnouncementRequest request) = 0;  ///< ended, or its upload failed

    virtual ~PAControllerObserver() = default;
};

namespace pa {

/// An observer that ignores everything, for applications that want a few of the callbacks.
class PAControllerObserverAdapter : public PAControllerObserver {
public:
    void onPaSourceUpdate(PaSource) override {}
    void onPaSourceDelete(int) override {}
    void onPaSinkUpdate(PaSink) override {}
    void onPaSinkDelete(int) override {}
    void onPaTriggerUpdate(PaTrigger) override {}
    void onPaTriggerDelete(int) override {}
    void onPaSelectorUpdate(PaSelector) override {}
    void onPaSelectorDelete(int) override {}
    void onScheduleUpdate(ScheduleDefinition) override {}
    void onScheduleDelete(ScheduleDefinition) override {}
    void onPaZoneUpdate(PaZone) override {}
    void onPaZoneDelete(std::string) override {}
    void onAudioMessageRetrievalComplete(const std::string&, bool, MessageRetrievalError,
                                         const std::string&) override {}
    void onMessageUpdate(AnnouncementRequest) override {}
    void onMessageDelete(AnnouncementRequest) override {}
};

}  // namespace pa
