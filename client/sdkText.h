// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "../framework/api.h"

namespace paclient {

/// What the controller refuses, for people: "setGain: Unsupported Sink Type >9<" is "a sink of type
/// ZENTRIQ_KPL2 has no gain". A text that has no other wording is returned as it is. May be
/// called from any thread.
/// @param text of an exception of the controller
PA_API std::string sentenceFor(const std::string& text);

}  // namespace paclient
