// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#ifdef PA_COVERAGE
extern "C" void __gcov_dump();
#endif

/// Ends the child of a fork() without destroying what is the parent's.
[[noreturn]] inline void endChild(int status) {
#ifdef PA_COVERAGE
    __gcov_dump();  // _exit does not write the counts
#endif
    _exit(status);
}
