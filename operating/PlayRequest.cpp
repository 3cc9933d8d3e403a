// SPDX-License-Identifier: Apache-2.0
#include "operating/PlayRequest.h"

#include <algorithm>

#include "client/choose.h"
#include "operating/sentTexts.h"
#include "operating/wavFile.h"
#include "util/utf8.h"

namespace paoperating {

using pautil::hasControlCharacter;

namespace {

constexpr const char* templateKey = "{SCREEN}";  // the key under which the template's name is sent

/// Keys are sent as they are, inside a JSON text.
void checkKey(const std::string& key) {
    const std::string what = "the key '" + key + "'";
    require(!key.empty(), "a variable has an empty key");
    require(key.find_first_of("\"\\") == std::string::npos && !hasControlCharacter(key),
            what + " has a quote, a backslash or a control character");
    require(key != templateKey, what + " is that of the template's name");
    requireUtf8("the key", key);
}

/// The name is sent as it is, as the last part of a path in a list.
void checkFileName(const std::string& path) {
    const std::string name = path.substr(path.find_last_of("/\\") + 1);
    require(!name.empty() && name != "." && name != "..", "'" + path + "' names no file");
    requireListable("the file name", name);
}

void checkRequestId(const std::string& id) {
    requireUtf8("the request id", id);
    const bool fits = id.size() >= 6 && id.size() <= 63;  // any other length is replaced on sending
    require(fits && id[0] != ' ' && id[0] != '\t' && !hasControlCharacter(id),
            "the request id '" + id +
                "' must have 6 to 63 characters, no control character and no blank in front");
}

void checkAudio(const PlayRequest& request) {
    const AudioRequest& audio = request.audio;
    const int contents = (audio.items.empty() ? 0 : 1) + (audio.texts.empty() ? 0 : 1) +
                         (audio.file ? 1 : 0) + (request.recording ? 1 : 0);
    require(contents <= 1, "only one of items, texts, a file and a recording is played");
    require(contents == 1 || request.display,
            "nothing to play: items, a text, a file, a recording or a template to display is "
            "missing");
    require(!audio.repeat || !audio.items.empty(), "only items are repeated");
    require((!audio.language && !audio.voice) || !audio.texts.empty(),
            "only texts have a language and a voice");
    for (const std::string& text : audio.texts) {
        require(!text.empty(), "the text is empty");
        requireUtf8("the text", text);
    }
    if (audio.file) {
        checkFileName(*audio.file);
        checkWav(*audio.file);
    }
    if (request.recording) {
        playablePath(*request.recording);
    }
}

void checkVisual(const PlayRequest& request) {
    if (request.display) {
        require(!request.display->empty(), "the name of the template is empty");
        requireUtf8("the template", *request.display);
    }
    require(request.display || request.variables.empty(), "only a template has variables");
    for (const auto& [key, text] : request.variables) {
        checkKey(key);
        requireUtf8("the text", text);
    }
}

/// By key. A key that is given several times has several values.
Message::DisplayVariables displayVariables(const PlayRequest& request) {
    Message::DisplayVariables variables;
    for (const auto& [key, text] : request.variables) {
        variables[key].emplace_back(text, 0);
    }
    return variables;
}

}  // namespace

bool isAudible(const PlayRequest& request) {
    return !request.audio.items.empty() || !request.audio.texts.empty() || request.audio.file ||
           request.recording;
}

void check(const PlayRequest& request) {
    checkVisual(request);
    checkAudio(request);
    if (request.requestId) {
        checkRequestId(*request.requestId);
    }
}

Message messageFor(const PlayRequest& request) {
    Message message;
    message.setRequestID(request.requestId.value_or(""));
    message.setPriority(
        {request.relative ? APM_RELATIVE_PRIORITY : APM_ABSOLUTE_PRIORITY, request.priority});
    message.setPreChime(request.preChime);
    message.setPostChime(request.postChime);
    if (request.gain) {
        message.setGain(*request.gain);
    }
    if (!request.audio.items.empty()) {
        message.setAudioMessage(request.audio.items);
        message.setRepeatCnt(request.audio.repeat.value_or(1));
    }
    if (!request.audio.texts.empty()) {
        const TTSVocalizer voice =
            paclient::chooseVoice(request.audio.language, request.audio.voice);
        for (const std::string& text : request.audio.texts) {
            message.setAudioMessage(text, voice.language, voice.voice, Message::UTF_8);
        }
    }
    if (request.audio.file) {
        message.setAudioMessage(*request.audio.file, Message::L16_48K);
    }
    if (request.recording) {
        message.setAudioMessage(serverPath(*request.recording));
    }
    if (request.display) {
        message.setVisualMessage(*request.display, displayVariables(request), request.validity);
    }
    return message;
}

}  // namespace paoperating
