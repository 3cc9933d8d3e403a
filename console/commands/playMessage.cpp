#include "console/commands/playMessage.h"

#include <algorithm>
#include <set>

#include "console/text/resources.h"

namespace console {

namespace {

/// The pieces between the commas.
std::vector<std::string> splitAtCommas(const std::string& text) {
    std::vector<std::string> pieces;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        pieces.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return pieces;
}

std::string withoutOuterBlanks(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

TTSVocalizer voiceFor(const std::optional<std::string>& language,
                      const std::optional<std::string>& name) {
    auto candidates = voices.all();
    const auto narrow = [&candidates](const char* kind, const char* member,
                                      const std::optional<std::string>& wanted) {
        if (!wanted) {
            return;
        }
        const auto texts = memberTexts(candidates, member);
        const std::set<std::string> distinct(texts.begin(), texts.end());
        const std::vector<std::string> names(distinct.begin(), distinct.end());
        const std::string text = names[findName(kind, *wanted, names)];
        const auto isOther = [&](const TTSVocalizer& voice) {
            return memberText(voice, member) != text;
        };
        candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isOther),
                         candidates.end());
    };
    narrow("language", "language", language);
    narrow("voice", "voice", name);
    if (candidates.empty()) {
        throw Failure(ExitCode::NotFound, "the server has no voice");
    }
    return candidates.front();
}

std::vector<std::string> zonesFor(const std::vector<std::string>& values) {
    const auto known = memberTexts(zones.all(), "id");
    std::vector<std::string> result;
    const auto add = [&](const std::string& name) {
        const std::string& id = known[findName("zone", name, known)];
        if (std::find(result.begin(), result.end(), id) == result.end()) {
            result.push_back(id);
        }
    };
    for (const std::string& value : values) {
        if (knowsName(value, known)) {
            add(value);
            continue;
        }
        for (const std::string& piece : splitAtCommas(value)) {
            add(knowsName(piece, known) ? piece : withoutOuterBlanks(piece));
        }
    }
    return result;
}

Message messageFor(const PlayRequest& request, const std::string& requestId) {
    Message message;
    message.setRequestID(requestId);
    message.setPriority(
        {request.relative ? APM_RELATIVE_PRIORITY : APM_ABSOLUTE_PRIORITY, request.priority});
    message.setPreChime(request.preChime);
    message.setPostChime(request.postChime);
    if (request.gain) {
        message.setGain(*request.gain);
    }
    if (!request.items.empty()) {
        message.setAudioMessage(request.items);
        message.setRepeatCnt(request.repeat);
    }
    if (!request.texts.empty()) {
        const TTSVocalizer voice = voiceFor(request.language, request.voice);
        for (const std::string& text : request.texts) {
            message.setAudioMessage(text, voice.language, voice.voice, Message::UTF_8);
        }
    }
    if (request.file) {
        message.setAudioMessage(*request.file, Message::L16_48K);
    }
    if (request.display) {
        message.setVisualMessage(*request.display, displayVariables(request), request.validity);
    }
    return message;
}

}  // namespace console
