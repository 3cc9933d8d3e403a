#include "simserver/audio/SpeakableText.h"

#include <algorithm>

namespace simserver {

namespace {

/// Length in bytes of the character that begins with this byte; 0 for a byte that begins none.
std::size_t lengthOfCharacter(unsigned char first) {
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xC2 || first > 0xF4) {
        return 0;
    }
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// The first character of a text; empty when it cannot be spoken.
std::string_view firstCharacter(std::string_view text) {
    constexpr unsigned char deleteCharacter = 0x7F;
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = lengthOfCharacter(first);
    const std::string_view character = text.substr(0, length);
    const bool whole =
        character.size() == length &&
        std::all_of(character.begin() + (length > 0 ? 1 : 0), character.end(),
                    [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; });
    return whole && first > ' ' && first != deleteCharacter ? character : std::string_view();
}

}  // namespace

std::string speakable(std::string_view text) {
    std::string spoken;
    while (!text.empty()) {
        const std::string_view character = firstCharacter(text);
        spoken += character;
        if (character.empty() || character == "[") {
            spoken += ' ';
        }
        text.remove_prefix(std::max<std::size_t>(1, character.size()));
    }
    return spoken;
}

}  // namespace simserver
