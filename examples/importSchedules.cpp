// SPDX-License-Identifier: Apache-2.0
// Puts the schedules of a JSON file, as `paconsole schedule export` writes it, in place of those
// that have the same numbers: importSchedules --server HOST[:PORT] FILE
#include <cerrno>
#include <fstream>
#include <iostream>
#include <iterator>
#include <public-address/client/scheduleJson.h>
#include <public-address/client/schedules.h>
#include <system_error>

#include "BrokerEndpoint.h"

namespace {

paclient::Json readList(const std::string& path) try {
    std::ifstream file(path);
    if (!file) {
        throw std::system_error(errno, std::generic_category(), "cannot be read");
    }
    return paclient::parseScheduleList({std::istreambuf_iterator<char>(file), {}});
} catch (const std::exception& error) {
    throw std::runtime_error(path + ": " + error.what());
}

}  // namespace

int main(int argc, char** argv) try {
    const std::string broker = brokerOf(argc, argv);
    if (argc != 4) {
        throw std::invalid_argument("after the broker one file is named");
    }
    const paclient::Json list = readList(argv[3]);

    BrokerEndpoint endpoint(broker);
    paclient::Connection connection(endpoint);
    connection.open();
    paclient::ImportResult result;
    constexpr bool replaces = true;
    paclient::importSchedules(paclient::readSchedules(list), replaces, {std::chrono::seconds(10)},
                              {}, result);

    std::cout << "imported: " << result.imported << '\n';
    for (const auto& failed : result.failed) {
        std::cout << "entry " << failed.entry << " failed: " << failed.reason << '\n';
    }
    if (result.unknownEntry) {
        std::cout << "entry " << *result.unknownEntry << " may be imported or not\n";
    }
    return result.failed.empty() && !result.unknownEntry ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << "importSchedules: " << error.what() << '\n';
    return 1;
}
