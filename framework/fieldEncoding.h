// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "api.h"

/// @file
/// The encoding of texts on the server link. All functions may be called from any thread.

/// Puts the text between double quotes and a backslash before every double quote and backslash
/// inside. Works in place. Nothing else changes: any bytes but NUL pass.
PA_API void prepareElemStringFieldForSvr(std::string& text);

/// Undoes `prepareElemStringFieldForSvr`, in place. A text that is not one whole quoted string
/// stays as it is.
PA_API void translateElemStringFieldFromSvr(std::string& text);

namespace pa {

/// Appends a text as it is inside `depth` encoded texts, each of which contains the next one: what
/// so many calls of `prepareElemStringFieldForSvr` make of it, without the quotes that they add.
void appendEncoded(std::string& out, std::string_view text, unsigned depth);

/// The text as `translateElemStringFieldFromSvr` leaves it.
std::string decoded(std::string_view text);

/// The same, into a text that may have memory already.
void assignDecoded(std::string& out, std::string_view text);

}  // namespace pa
