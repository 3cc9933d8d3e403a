// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/SpeakableText.h"

#include "util/utf8.h"

namespace simserver {

std::string speakable(std::string_view text) {
    constexpr char32_t deleteCharacter = 0x7F;
    std::string spoken;
    pautil::forEachCharacter(text, [&](const pautil::Character& character, std::string_view bytes) {
        const bool canBeSpoken = character.code > U' ' && character.code != deleteCharacter;
        spoken += canBeSpoken ? bytes : " ";
        if (character.code == U'[') {
            spoken += ' ';
        }
    });
    return spoken;
}

}  // namespace simserver
