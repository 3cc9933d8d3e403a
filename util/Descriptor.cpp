// SPDX-License-Identifier: Apache-2.0
#include "util/Descriptor.h"

#include <cerrno>
#include <unistd.h>

namespace pautil {

Descriptor::~Descriptor() {
    if (isOpen()) {
        close(number_);
    }
}

std::error_code Descriptor::write(const char* data, std::size_t size) const {
    for (std::size_t at = 0; at < size;) {
        const ssize_t written = ::write(number_, data + at, size - at);
        if (written < 0 && errno != EINTR) {
            return lastError();
        }
        at += written < 0 ? 0 : static_cast<std::size_t>(written);
    }
    return {};
}

std::error_code lastError(bool failed) {
    return {failed ? errno : 0, std::generic_category()};
}

}  // namespace pautil
