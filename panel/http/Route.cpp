// SPDX-License-Identifier: Apache-2.0
#include "panel/http/Route.h"

namespace papanel {

std::string ApiRequest::queryOr(const std::string& name, const std::string& other) const {
    const auto found = query.find(name);
    return found == query.end() ? other : found->second;
}

std::string ApiRequest::header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
}

}  // namespace papanel
