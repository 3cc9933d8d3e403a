// SPDX-License-Identifier: Apache-2.0
#include "bench/processStatus.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <stdexcept>

namespace bench {

long statusNumber(const std::string& process, const std::string& name) {
    std::ifstream status("/proc/" + process + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size() + 1, name + ':') == 0) {
            return std::strtol(line.c_str() + name.size() + 1, nullptr, 10);
        }
    }
    return 0;
}

std::int64_t processorNS(pid_t process) {
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        throw std::runtime_error("no processor time of a process");
    }
    constexpr std::int64_t nsPerSecond = 1'000'000'000;
    return std::int64_t{time.tv_sec} * nsPerSecond + time.tv_nsec;
}

}  // namespace bench
