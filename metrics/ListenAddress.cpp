// SPDX-License-Identifier: Apache-2.0
#include "metrics/ListenAddress.h"

#include <charconv>
#include <cstdint>

namespace pametrics {

std::optional<ListenAddress> readListenAddress(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0) {
        return std::nullopt;
    }
    std::uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data() + colon + 1, end, port);
    if (error != std::errc() || last != end) {
        return std::nullopt;
    }
    ListenAddress address{text.substr(0, colon), port};
    if (address.host.front() == '[' && address.host.back() == ']') {
        address.host = address.host.substr(1, address.host.size() - 2);
    }
    return address;
}

}  // namespace pametrics
