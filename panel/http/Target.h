// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace papanel {

/// What a request asks for.
struct Target {
    std::string path;                ///< as it was sent, without the query
    std::vector<std::string> parts;  ///< between its slashes, decoded
    std::multimap<std::string, std::string> query;
};

/// @param target begins with a slash
/// @throws ApiError 400 for a wrong percent code, or one of NUL
Target parseTarget(const std::string& target);

}  // namespace papanel
