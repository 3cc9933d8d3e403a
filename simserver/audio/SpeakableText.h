// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace simserver {

/// The text for the speech engine, so that all of it is spoken and nothing in it is a command. For
/// the engine, some control characters begin commands, NUL ends the text, and "[[" begins
/// phonemes, even with invisible characters in it: control characters, and bytes that are not
/// UTF-8, become blanks, and a blank follows each "[".
std::string speakable(std::string_view text);

}  // namespace simserver
