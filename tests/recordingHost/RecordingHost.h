#pragma once

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
/// at 10.0.0.5, verbosity 0, an audio server instance with the UUID "uuid-self".
void reset();

/// The transcript since the last call or reset, a line each.
std::string transcript();

/// Whether texts go to and from the server unchanged, so that payloads can be written plainly.
void setPlainEncoding(bool plain);

/// What the next uploads return; 1 is success.
void setUploadResult(int result);

/// Called in place of every sleep, after it has been written down.
void setSleepAction(std::function<void(int ms)> action);

AudioServer& audioServer();

/// Writes a line into the transcript.
void note(const std::string& line);

}  // namespace recordingHost

/// Writes every call into the transcript, as "name: call arguments".
class RecordingObserver : public PAControllerObserver {
public:
    explicit RecordingObserver(std::string name) : name_(std::move(name)) {}

    void onPaSourceUpdate(PaSource source) override;
    void onPaSourceDelete(int sourceId) override;
    void onPaSinkUpdate(PaSink sink) override;
    void onPaSinkDelete(int sinkId) override;
    void onPaTriggerUpdate(PaTrigger trigger) override;
    void onPaTriggerDelete(int triggerId) override;
    void onPaSelectorUpdate(PaSelector selector) override;
    void onPaSelectorDelete(int selectorId) override;
    void onScheduleUpdate(ScheduleDefinition schedule) override;
    void onScheduleDelete(ScheduleDefinition schedule) override;
    void onPaZoneUpdate(PaZone zone) override;
    void onPaZoneDelete(std::string zoneId) override;
    void onAudioMessageRetrievalComplete(const std::string& requestId, bool success,
                                         MessageRetrievalError error,
                                         const std::string& uri) override;
    void onMessageUpdate(AnnouncementRequest request) override;
    void onMessageDelete(AnnouncementRequest request) override;

    /// Called in every callback, after it has been written down.
    std::function<void()> inCallback;

private:
    void called(const std::string& what);

    std::string name_;
};

/// A record whose first `columns` fields are absent but for those named.
class RecordBuilder {
public:
    explicit RecordBuilder(std::size_t columns) : fields_(columns) {}
    RecordBuilder& with(std::size_t column, const std::string& text) {
        fields_.at(column) = text;
        return *this;
    }
    operator RecordFields() const { return fields_; }  // NOLINT: it is what it builds

private:
    RecordFields fields_;
};
