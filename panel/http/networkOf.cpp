// SPDX-License-Identifier: Apache-2.0
#include "panel/http/networkOf.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>

namespace papanel {

std::string networkOf(const std::string& address) {
    constexpr std::array<unsigned char, 12> mapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
    std::array<unsigned char, 16> bytes{};
    if (inet_pton(AF_INET6, address.c_str(), bytes.data()) != 1) {
        return address;
    }
    if (std::equal(mapped.begin(), mapped.end(), bytes.begin())) {
        return std::to_string(bytes[12]) + '.' + std::to_string(bytes[13]) + '.' +
               std::to_string(bytes[14]) + '.' + std::to_string(bytes[15]);
    }
    return {bytes.begin(), bytes.begin() + 8};
}

}  // namespace papanel
