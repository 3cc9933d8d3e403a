// SPDX-License-Identifier: Apache-2.0
#include "client/Preview.h"

#include <algorithm>
#include <optional>

#include "client/confirmed.h"
#include "framework/uuid.h"
#include "sdk/PAController.h"

namespace paclient {

namespace {

using State = Confirmation::State;

/// Whether the audio is that of a text and a voice. Of several requests for the same, the
/// controller notifies of the end of one.
bool isAudioOf(const Retrieval& retrieval, const std::string& text, const TTSVocalizer& voice) {
    const auto items = gPaController.getTTSDictionaryList();
    return retrieval.success && std::any_of(items.begin(), items.end(), [&](const auto& item) {
               return item.uri == retrieval.uri && item.portNo == voice.portNo && item.text == text;
           });
}

}  // namespace

RenderedPreview renderPreview(const std::string& text, const TTSVocalizer& voice,
                              const Wait& wait) {
    std::string id;
    generateUUID(id);
    Message message;
    message.setRequestID(id);
    message.setAudioMessage(text, voice.language, voice.voice, Message::UTF_8);
    std::optional<Retrieval> answer;
    std::string whyFailed = "it cannot speak the text with this voice";
    ConfirmedRequest request;
    request.operations = {pa::operations::retrieveAudio};
    request.requestId = id;
    request.send = [&] { message.retrieveAudioMessage(); };
    request.take = [&](const Change& change) {
        // The reason of a failure is reported as a refusal, before the failure.
        const auto* const refusal = std::get_if<palink::Refusal>(&change);
        if (refusal != nullptr && isRefusalOf(request.operations, id, *refusal)) {
            whyFailed = refusal->reason;
        }
        const auto* const retrieval = std::get_if<Retrieval>(&change);
        const bool isOurs = retrieval != nullptr &&
                            (retrieval->requestId == id || isAudioOf(*retrieval, text, voice));
        if (isOurs && !answer) {
            answer = *retrieval;
        }
    };
    request.holds = [&] { return answer.has_value(); };
    const Confirmation confirmation = confirm(request, wait);
    if (!answer || !confirmation.holds()) {
        return {confirmation, {}};
    }
    if (answer->error == PAControllerObserver::MRE_TIMED_OUT) {
        return {{State::TimedOut}, {}};
    }
    if (!answer->success) {
        return {{State::Refused, whyFailed}, {}};
    }
    return {{State::Done}, answer->uri};
}

}  // namespace paclient
