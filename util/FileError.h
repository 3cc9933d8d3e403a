// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace pautil {

/// A file or a folder that cannot be used. The text names it and the reason.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace pautil
