#pragma once

#include <string>

namespace bench {

/// A number of /proc/PROCESS/status, as in "VmHWM"; 0 when there is none.
/// @param process a process id, or "self"
long statusNumber(const std::string& process, const std::string& name);

}  // namespace bench
