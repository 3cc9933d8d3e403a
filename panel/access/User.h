// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "panel/http/Route.h"

namespace papanel {

/// Someone who may log in.
struct User {
    std::string name;
    Role role = Role::Monitor;
    std::string hash;  ///< of the password
};

/// The role's name, as in the file of users and in the API.
const char* roleName(Role role);

/// The role with that name, if there is one.
std::optional<Role> roleWithName(std::string_view name);

/// Whether users may have this name: 1 to 64 ASCII letters, digits and the characters ._@- and at
/// first a letter or a digit. Logs, audit trail and spreadsheets then take it as it is.
bool isUserName(std::string_view name);

}  // namespace papanel
