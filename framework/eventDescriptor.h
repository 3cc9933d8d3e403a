// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace pa {

/// A new eventfd, not inherited by a program that is executed. It never has the number of a
/// standard descriptor: what reads or writes one that the caller of the program has closed must
/// fail.
/// @return -1 with errno when the system has no descriptor left
inline int newEventDescriptor(unsigned count) {
    const int made = eventfd(count, EFD_NONBLOCK | EFD_CLOEXEC);
    if (made < 0 || made > STDERR_FILENO) {
        return made;
    }
    const int moved = fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(made);
    errno = error;
    return moved;
}

}  // namespace pa
