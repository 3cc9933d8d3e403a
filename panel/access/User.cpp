// SPDX-License-Identifier: Apache-2.0
#include "panel/access/User.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace papanel {

namespace {

constexpr std::array<std::pair<Role, const char*>, 2> roles{
    {{Role::Monitor, "monitor"}, {Role::Operator, "operator"}}};

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

}  // namespace

const char* roleName(Role role) {
    return roles.at(static_cast<std::size_t>(role)).second;
}

std::optional<Role> roleWithName(std::string_view name) {
    for (const auto& [role, roleName] : roles) {
        if (name == roleName) {
            return role;
        }
    }
    return std::nullopt;
}

bool isUserName(std::string_view name) {
    constexpr std::size_t longest = 64;
    constexpr std::string_view alsoAllowed = "._@-";
    return !name.empty() && name.size() <= longest && isLetterOrDigit(name.front()) &&
           std::all_of(name.begin(), name.end(), [alsoAllowed](char c) {
               return isLetterOrDigit(c) || alsoAllowed.find(c) != std::string_view::npos;
           });
}

}  // namespace papanel
