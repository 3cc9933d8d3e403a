// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "link/mqtt/MalformedMessage.h"

/// @file
/// A reading of a level meter on the broker, docs/link-protocol.md.

namespace palink {

/// @param level dB, a finite number
std::string encodeLevel(double level);

/// @throws MalformedMessage
double decodeLevel(std::string_view payload);

}  // namespace palink
