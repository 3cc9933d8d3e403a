// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace palink {

/// A message of the link is not as the protocol has it; the text names what is wrong.
class MalformedMessage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace palink
