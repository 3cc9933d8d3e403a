// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "../framework/api.h"
#include "../sdk/Message.h"
#include "Wait.h"

namespace paclient {

/// A text that the server has rendered with a voice, to be checked before it is played.
struct RenderedPreview {
    Confirmation confirmation;  ///< whether there is audio
    std::string uri;            ///< where the audio can be fetched; empty when there is none
};

/// Enough for every preview: the controller gives one up after 90 s, and looks every 9 s.
constexpr std::chrono::seconds previewExpiry{105};

/// Has the server render a text, and waits for the audio. Several requests for the same text and
/// voice are answered by one report; each of them returns then.
///
/// May be called from any thread, but not from a callback. The controller gives a preview up after
/// 90 s and reports that within 9 s (`TimedOut`), whatever the limit.
/// @param voice one of `PAController::getTTSVocalizerList`; its text is not used
/// @throws std::out_of_range when the text is empty or there is no such voice
/// @throws whatever `wait.whileWaiting` throws
PA_API RenderedPreview renderPreview(const std::string& text, const TTSVocalizer& voice,
                                     const Wait& wait);

}  // namespace paclient
