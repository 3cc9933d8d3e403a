// SPDX-License-Identifier: Apache-2.0
#include "paserver/daemonStart.h"

namespace paserver {

int refuse(const char* program, int exitCode, const std::string& error, bool journal) {
    std::fprintf(stderr, "%s%s: %s\n", journal ? "<3>" : "", program, error.c_str());
    return exitCode;
}

}  // namespace paserver
