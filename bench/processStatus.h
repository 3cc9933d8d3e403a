// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

namespace bench {

/// A number of /proc/PROCESS/status, as in "VmHWM"; 0 when there is none.
/// @param process a process id, or "self"
long statusNumber(const std::string& process, const std::string& name);

/// The processor time of a process so far.
/// @param process 0 for the one that calls
std::int64_t processorNS(pid_t process = 0);

}  // namespace bench
