// Puts the schedules of a JSON file, as `paconsole schedule export` writes it, in place of those
// that have the same numbers: importSchedules --server HOST[:PORT] FILE
#include <fstream>
#include <iostream>
#include <iterator>
#include <public-address/client/scheduleJson.h>
#include <public-address/client/schedules.h>

#include "BrokerEndpoint.h"

int main(int argc, char** argv) try {
    const std::string broker = brokerOf(argc, argv);
    std::ifstream file(argc == 4 ? argv[3] : "");
    if (!file) {
        throw std::invalid_argument("there is no such file");
    }
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const paclient::Json list = paclient::parseScheduleList(text);

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
