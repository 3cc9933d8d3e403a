// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/Speech.h"

#include "simserver/protocol/Records.h"
#include "simserver/protocol/Refused.h"
#include "simserver/protocol/RequestDecoder.h"

namespace simserver {

using pa::RecordKind;

Speech::Speech(ServerContext& context, std::mutex& lock)
    : context_(context),
      renderer_(context.station, context.uploads, [this, &lock](const Preview& preview) {
          const std::lock_guard guard(lock);
          publish(preview);
      }) {}

void Speech::retrieve(const std::string& payload) {
    RetrievalRequest request;
    forRequest(request.id, [&] { decodeRetrieval(payload, request); });
    if (const std::optional<Preview> preview = renderer_.request(request)) {
        publish(*preview);
    }
}

void Speech::publishAll() const {
    for (const Voice& voice : context_.station.voices) {
        context_.publisher.record(RecordKind::TtsPort, voice.port, voiceRecord(voice));
    }
    for (const Preview& preview : renderer_.previews()) {
        publish(preview);
    }
}

/// A refusal with the reason of a failure precedes the record, which has no field for it. A failed
/// item is not kept.
void Speech::publish(const Preview& preview) const {
    if (preview.isDropped) {
        context_.publisher.withdrawal(RecordKind::TtsDictionary, preview.item);
        return;
    }
    const bool failed = preview.port == Preview::failed;
    if (failed) {
        context_.publisher.event(
            palink::Refusal{pa::operations::retrieveAudio, preview.uuid, preview.whyFailed});
    }
    context_.publisher.record(RecordKind::TtsDictionary, preview.item, previewRecord(preview));
    if (failed) {
        context_.publisher.withdrawal(RecordKind::TtsDictionary, preview.item);
    }
}

}  // namespace simserver
