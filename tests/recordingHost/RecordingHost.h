#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "include/common/RecordList.h"
#include "sdk/AudioServer.h"
#include "sdk/PAControllerObserver.h"
#include "sdk/globals.h"

/// A host that does nothing but write down what the controller asks of it. It takes the place of
/// pa_host: no thread is started, nobody sleeps, nothing is sent.
///
/// One transcript holds operations, events, observer calls, log lines, error reports, uploads and
/// sleeps in the order in which they came. A line begins with "*" when it was written with the
/// controller's mutex held.
namespace recordingHost {

/// Puts the host in its first state: empty transcript, direct connection to server 1, this device
/// at 10.0.0.5, verbosity 0, wall clock at 1000 s, an audio server instance with the UUID
/// "uuid-self".
void reset();

/// Has an observer "o" write down what the process's controller tells, from now on.
void watchTheController();

/// The transcript since the last call or reset, a line each.
std::string transcript();

/// Whether texts go to and from the server unchanged, so that payloads can be written plainly.
void setPlainEncoding(bool plain);

/// What the next uploads return; 1 is success.
void setUploadResult(int result);

/// What the wall clock says from now on.
void setWallClock(std::time_t now);

/// Called in place of every sleep, after it has been written down.
void setSleepAction(std::function<void(int ms)> action);

/// How often the controller's mutex was entered since the last call or reset.
int mutexEntries();

AudioServer& audioServer();

/// Writes a line into the transcript.
void note(const std::string& line);

}  // namespace recordingHost

/// Writes every call into the transcript, as "name: call arguments".
class RecordingObserver : public PAControllerObserverAdapter {
public:
    explicit RecordingObserver(std::string name) : name_(std::move(name)) {}

    void onPaSourceUpdate(PaSource source) override { called("source", source.id, source.label); }
    void onPaSourceDelete(int id) override { called("source", id, "deleted"); }
    void onPaSinkUpdate(PaSink sink) override { called("sink", sink.id, sink.label); }
    void onPaSinkDelete(int id) override { called("sink", id, "deleted"); }
    void onPaTriggerUpdate(PaTrigger trigger) override {
        called("trigger", trigger.id, trigger.label);
    }
    void onPaTriggerDelete(int id) override { called("trigger", id, "deleted"); }
    void onPaSelectorUpdate(PaSelector selector) override {
        called("selector", selector.id, selector.label);
    }
    void onPaSelectorDelete(int id) override { called("selector", id, "deleted"); }
    void onScheduleUpdate(ScheduleDefinition schedule) override {
        called("schedule", schedule.Id, schedule.descrption);
    }
    void onScheduleDelete(ScheduleDefinition schedule) override {
        called("schedule", schedule.Id, schedule.descrption + " deleted");
    }
    void onPaZoneUpdate(PaZone zone) override { called("zone", zone.id, zone.activityText); }
    void onPaZoneDelete(std::string id) override { called("zone", id, "deleted"); }
    void onAudioMessageRetrievalComplete(const std::string& requestId, bool success,
                                         MessageRetrievalError error,
                                         const std::string& uri) override {
        called("audio", requestId,
               (success ? "rendered " : "failed ") + std::to_string(error) + " " + uri);
    }
    void onMessageUpdate(AnnouncementRequest request) override {
        called("message", request.getRequestID(), request.stateText);
    }
    void onMessageDelete(AnnouncementRequest request) override {
        called("message", request.getRequestID(), "deleted");
    }

    /// Called in every callback, after it has been written down.
    std::function<void()> inCallback;

private:
    void called(const std::string& kind, int id, const std::string& what) {
        called(kind, std::to_string(id), what);
    }
    void called(const std::string& kind, const std::string& id, const std::string& what);

    std::string name_;
};

/// The fields of a record, written with "|" between them and "-" for one that is absent.
RecordFields fieldsOf(const std::string& text);

/// Fields with one of them replaced, and absent ones up to it.
RecordFields with(RecordFields fields, std::size_t column, const std::string& text);

/// A record with one or two fields and no other.
inline RecordFields only(std::size_t column, const std::string& text) {
    return with({}, column, text);
}
