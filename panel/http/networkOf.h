// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace papanel {

/// What one owner of addresses has: an IPv4 address, or 64 bits of an IPv6 address. For comparison.
std::string networkOf(const std::string& address);

}  // namespace papanel
