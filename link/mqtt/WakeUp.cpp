// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/WakeUp.h"

#include <cerrno>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace palink {

WakeUp::WakeUp() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

WakeUp::~WakeUp() {
    close(descriptor_);
}

void WakeUp::signal() {
    if (!isSignalled_.exchange(true)) {
        eventfd_write(descriptor_, 1);
    }
}

void WakeUp::clear() {
    eventfd_t count = 0;
    eventfd_read(descriptor_, &count);
    isSignalled_ = false;
}

}  // namespace palink
