// SPDX-License-Identifier: Apache-2.0
#include "panel/http/RouteTable.h"

#include <algorithm>

#include "panel/http/ApiError.h"
#include "panel/http/Target.h"

namespace papanel {

namespace {

bool isVariable(const std::string& word) {
    return word.front() == '{';
}

bool fits(const std::vector<std::string>& pattern, const std::vector<std::string>& parts) {
    return std::equal(pattern.begin(), pattern.end(), parts.begin(), parts.end(),
                      [](const std::string& word, const std::string& part) {
                          return isVariable(word) ? !part.empty() : word == part;
                      });
}

}  // namespace

RouteTable::RouteTable(Routes routes) : routes_(std::move(routes)) {
    std::stable_sort(routes_.begin(), routes_.end(), [](const Route& one, const Route& other) {
        const auto variables = [](const Route& route) {
            const std::string_view pattern = route.pattern;
            return std::count(pattern.begin(), pattern.end(), '{');
        };
        return variables(one) < variables(other);
    });
    for (const Route& route : routes_) {
        patterns_.push_back(parseTarget(route.pattern).parts);
    }
}

RouteTable::Match RouteTable::find(const std::string& method,
                                   const std::vector<std::string>& parts) const {
    const std::string wanted = method == "HEAD" ? "GET" : method;
    std::string allowed;
    for (std::size_t number = 0; number < routes_.size(); ++number) {
        const Route& route = routes_[number];
        if (!fits(patterns_[number], parts)) {
            continue;
        }
        if (route.method == wanted) {
            Match match{&route, {}};
            for (std::size_t part = 0; part < parts.size(); ++part) {
                if (isVariable(patterns_[number][part])) {
                    match.parts.push_back(parts[part]);
                }
            }
            return match;
        }
        allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
    }
    if (allowed.empty()) {
        throw ApiError(404, "not-found", "the API has no such address");
    }
    throw ApiError(405, "method-not-allowed", method + " is not possible here",
                   {{"allow", allowed}});
}

}  // namespace papanel
