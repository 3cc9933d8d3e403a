// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "MalformedMessage.h"

/// @file
/// The answer to a request on the broker, docs/link-protocol.md.

namespace palink {

struct Answer {
    bool accepted = true;
    std::string reason{};     ///< of a refusal
    std::string requestId{};  ///< of a refused operation, if it names a request
    std::string result{};     ///< JSON, empty for none
    std::string operation{};  ///< CLASS/NUMBER of one that has failed after it was accepted
};

std::string encodeAnswer(const Answer& answer);

/// @throws MalformedMessage
Answer decodeAnswer(std::string_view payload);

}  // namespace palink
