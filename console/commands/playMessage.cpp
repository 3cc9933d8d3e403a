#include "console/commands/playMessage.h"

#include <algorithm>
#include <set>

#include "client/resources.h"
#include "console/ExitCode.h"

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

using Voices = std::vector<TTSVocalizer>;
using Texts = std::vector<std::string>;

/// The values of a member, each once, in order.
Texts valuesOf(std::string TTSVocalizer::*member, const Voices& voices) {
    std::set<std::string> values;
    for (const TTSVocalizer& voice : voices) {
        values.insert(voice.*member);
    }
    return {values.begin(), values.end()};
}

/// Those whose member has the value.
Voices with(std::string TTSVocalizer::*member, const std::string& value, Voices voices) {
    const auto isOther = [&](const TTSVocalizer& voice) { return voice.*member != value; };
    voices.erase(std::remove_if(voices.begin(), voices.end(), isOther), voices.end());
    return voices;
}

/// A voice that is asked for in a language that it does not speak.
/// @throws Failure that says which languages it speaks
void requireLanguage(const std::string& name, const std::string& language, const Voices& all,
                     const Voices& speakers) {
    const Texts names = valuesOf(&TTSVocalizer::voice, all);
    if (!paclient::knowsName(name, valuesOf(&TTSVocalizer::voice, speakers)) &&
        paclient::knowsName(name, names)) {
        const std::string voice = names[paclient::findName("voice", name, names)];
        const Texts languages =
            valuesOf(&TTSVocalizer::language, with(&TTSVocalizer::voice, voice, all));
        throw Failure(ExitCode::NotFound, "there is no voice '" + voice + "' in the language '" +
                                              language + "'; there is one in " +
                                              paclient::valueText(languages));
    }
}

}  // namespace

TTSVocalizer voiceFor(const std::optional<std::string>& language,
                      const std::optional<std::string>& name) {
    const Voices all = paclient::allVoices();
    Voices candidates = all;
    if (language) {
        const Texts languages = valuesOf(&TTSVocalizer::language, all);
        const std::string& spoken = languages[paclient::findName("language", *language, languages)];
        candidates = with(&TTSVocalizer::language, spoken, candidates);
        if (name) {
            requireLanguage(*name, spoken, all, candidates);
        }
    }
    if (name) {
        const Texts names = valuesOf(&TTSVocalizer::voice, candidates);
        candidates = with(&TTSVocalizer::voice, names[paclient::findName("voice", *name, names)],
                          candidates);
    }
    if (candidates.empty()) {
        throw Failure(ExitCode::NotFound, "the server has no voice");
    }
    return candidates.front();
}

std::vector<std::string> zonesFor(const std::vector<std::string>& values) {
    std::vector<std::string> known;
    for (const PaZone& zone : paclient::allZones()) {
        known.push_back(zone.id);
    }
    std::vector<std::string> result;
    const auto add = [&](const std::string& name) {
        const std::string& id = known[paclient::findName("zone", name, known)];
        if (std::find(result.begin(), result.end(), id) == result.end()) {
            result.push_back(id);
        }
    };
    for (const std::string& value : values) {
        if (paclient::knowsName(value, known)) {
            add(value);
            continue;
        }
        for (const std::string& piece : splitAtCommas(value)) {
            add(paclient::knowsName(piece, known) ? piece : withoutOuterBlanks(piece));
        }
    }
    return result;
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
    if (request.recording) {
        message.setAudioMessage(serverPath(*request.recording));
    }
    if (request.display) {
        message.setVisualMessage(*request.display, displayVariables(request), request.validity);
    }
    return message;
}

}  // namespace console
