// SPDX-License-Identifier: Apache-2.0
#include "client/choose.h"

#include <algorithm>

#include "client/resources.h"

namespace paclient {

namespace {

using Texts = std::vector<std::string>;
using Voices = std::vector<TTSVocalizer>;

/// The pieces between the commas.
Texts splitAtCommas(const std::string& text) {
    Texts pieces;
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

/// The texts of a member, each once, in order.
template <auto member>
Texts valuesOf(const Voices& voices) {
    Texts values = memberTexts<member>(voices);
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    return values;
}

/// Those whose member has the value.
template <auto member>
Voices with(const std::string& value, Voices voices) {
    const auto isOther = [&](const TTSVocalizer& voice) { return voice.*member != value; };
    voices.erase(std::remove_if(voices.begin(), voices.end(), isOther), voices.end());
    return voices;
}

constexpr auto language = &TTSVocalizer::language;
constexpr auto voice = &TTSVocalizer::voice;

/// A voice that is asked for in a language that it does not speak.
/// @throws NotFound that names the languages that it speaks
void requireLanguage(const std::string& name, const std::string& wanted, const Voices& all,
                     const Voices& speakers) {
    const Texts names = valuesOf<voice>(all);
    if (!knowsName(name, valuesOf<voice>(speakers)) && knowsName(name, names)) {
        const std::string& found = names[findName("voice", name, names)];
        const Texts languages = valuesOf<language>(with<voice>(found, all));
        throw NotFound("there is no voice '" + found + "' in the language '" + wanted +
                           "'; there is one in " + valueText(languages),
                       languages);
    }
}

}  // namespace

std::vector<std::string> chooseZones(const std::vector<std::string>& values) {
    const Texts known = memberTexts<&PaZone::id>(allZones());
    Texts chosen;
    const auto add = [&](const std::string& name) {
        const std::string& id = known[findName("zone", name, known)];
        if (std::find(chosen.begin(), chosen.end(), id) == chosen.end()) {
            chosen.push_back(id);
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
    return chosen;
}

TTSVocalizer chooseVoice(const std::optional<std::string>& wantedLanguage,
                         const std::optional<std::string>& name) {
    const Voices all = allVoices();
    Voices candidates = all;
    if (wantedLanguage) {
        const Texts languages = valuesOf<language>(all);
        const std::string& spoken = languages[findName("language", *wantedLanguage, languages)];
        candidates = with<language>(spoken, all);
        if (name) {
            requireLanguage(*name, spoken, all, candidates);
        }
    }
    if (name) {
        const Texts names = valuesOf<voice>(candidates);
        candidates = with<voice>(names[findName("voice", *name, names)], candidates);
    }
    if (candidates.empty()) {
        throw NotFound("the server has no voice", {});
    }
    return candidates.front();
}

}  // namespace paclient
