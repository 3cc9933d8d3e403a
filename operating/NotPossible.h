// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace paoperating {

/// What is asked for is right in itself, but cannot be as things are now at the server.
class NotPossible : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace paoperating
