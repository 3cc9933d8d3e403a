/// Texts that the simulated server speaks for a client, and recordings that the client makes.

#include "simserver/SimServer.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Records.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/RequestDecoder.h"

namespace simserver {

using pa::RecordKind;

// -------------------------------------------------------------------------------------- previews

void SimServer::retrieveAudio(const std::string& payload) {
    RetrievalRequest request;
    try {
        decodeRetrieval(payload, request);
    } catch (const Refused&) {
        requestId_ = request.id;
        throw;
    }
    if (const std::optional<Preview> preview = studio_.request(request)) {
        tellPreview(*preview);
    }
}

/// The reason of a failure goes before its record, which has no room for it. A failed item is not
/// kept.
void SimServer::tellPreview(const Preview& preview) {
    const bool failed = preview.port == Preview::failed;
    if (failed) {
        tell(palink::Refusal{pa::operations::retrieveAudio, preview.uuid, preview.whyFailed});
    }
    tellRecord(RecordKind::TtsDictionary, preview.item, previewRecord(preview));
    if (failed) {
        tellGone(RecordKind::TtsDictionary, preview.item);
    }
}

void SimServer::waitUntilSpoken() {
    studio_.waitUntilIdle();
}

// ------------------------------------------------------------------------------- user recordings

void SimServer::startRecording(const std::string& payload) {
    recorder_.start(payload, now_);
}

void SimServer::stopRecording(const std::string& payload) {
    if (!payload.empty()) {
        throw Refused("nothing is expected, found \"" + payload + "\"");
    }
    recorder_.stop(now_);
}

void SimServer::deleteRecording(const std::string& payload) {
    recorder_.remove(unquoted(payload));
}

/// The operator listens to it: an announcement without zones.
void SimServer::previewRecording(const std::string& payload) {
    constexpr int recorded = 1;
    constexpr int level = 500;
    const std::string path = unquoted(payload);
    recorder_.check(path);
    RequestPart part;
    part.type = findType(recorded);
    part.content = RecordedContent{0, path};
    repertoire_.lengthOf(part);
    engine_.play({newRequestId(), false, level, {part}}, now_);
}

std::optional<SimTime> SimServer::nextRecordingEnd() const {
    return recorder_.nextDue();
}

void SimServer::endRecording() {
    if (const auto due = recorder_.nextDue(); !due || *due > now_) {
        return;
    }
    try {
        recorder_.stopDue();
    } catch (const Refused& refused) {
        tell(palink::Refusal{pa::operations::stopRecording, "", refused.what()});
    }
}

}  // namespace simserver
