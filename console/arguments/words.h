// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// @file
/// The words of a line, split as a shell does: blanks and tabs separate, single quotes keep
/// everything, double quotes keep all but a backslash before `"` or `\`, a backslash outside of
/// quotes keeps the next character, a # at the start of a word begins a comment.

namespace console {

/// The words of a line that may end in the middle of one.
struct LineScan {
    std::vector<std::string> words;
    bool endsInWord = false;       ///< the last word may go on
    std::size_t lastBegin = 0;     ///< where the last word begins in the line
    char quote = '\0';             ///< the one that is open at the end
    bool endsInBackslash = false;  ///< it keeps a character that is not there
    bool endsInComment = false;
};

LineScan scanWords(const std::string& line);

/// The words of a whole line.
/// @throws Failure when a quote is not closed, nothing follows a backslash, or there is a NUL
std::vector<std::string> splitWords(const std::string& line);

/// A text written so that it is read as one word.
std::string quoted(const std::string& text);

/// The beginning of a longer text, written so that what follows it belongs to the same word.
std::string quotedBeginning(const std::string& text);

}  // namespace console
