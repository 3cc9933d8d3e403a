#include "bench/processStatus.h"

#include <cstdlib>
#include <fstream>

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

}  // namespace bench
