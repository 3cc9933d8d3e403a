#pragma once

#include <string>
#include <string_view>
#include <vector>

/// @file
/// The encoding of texts on the link, as the server reads and writes it. A nested list is encoded
/// once for each level: it is split first, with quotes and escapes kept, and each piece is then
/// freed of one level. So any text arrives byte for byte, whatever separators it holds.

namespace simserver {

/// The text between double quotes, with a backslash before every double quote and backslash in it.
std::string quotedText(std::string_view plain);

/// Every text quoted, with a separator between them: a list that its reader splits once.
std::string quotedList(const std::vector<std::string>& texts, char separator);

/// Undoes one level of `quotedText`.
/// @throws Refused when the text is not exactly one quoted text
std::string unquoted(std::string_view raw);

/// @throws Refused when there is a NUL byte, which no text holds
void refuseNul(std::string_view payload);

/// The pieces between separators that stand outside quotes. An empty text is one empty piece; a
/// quote that is not closed reaches to the end. The pieces live as long as `raw`.
std::vector<std::string_view> pieces(std::string_view raw, char separator);

/// A decimal number, cut to the range of `Number`, which is int or unsigned.
/// @throws Refused when the text is anything else
template <class Number>
Number wholeNumber(std::string_view text);

/// A finite decimal number.
/// @throws Refused when the text is anything else
double decimalNumber(std::string_view text);

/// A number with at most six significant digits and no trailing zeros, in every locale.
std::string decimalText(double value);

}  // namespace simserver
