#pragma once

#include <string>

#include "api.h"

/// @file
/// The encoding of texts on the server link. Both functions work in place, from any thread, and are
/// inverse to each other.

/// Puts the text between double quotes and a backslash before every double quote and backslash
/// inside. Nothing else changes: any bytes but NUL pass.
PA_API void prepareElemStringFieldForSvr(std::string& text);

/// Undoes `prepareElemStringFieldForSvr`. A text that is not one whole quoted string stays as it
/// is.
PA_API void translateElemStringFieldFromSvr(std::string& text);
