// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace papanel {

/// Runs `papanel user ...`, which changes a file of users.
/// @param words    after "user"
/// @param in       where the password is read, as one line, without a terminal
/// @param terminal descriptor where the password is read without echo, twice; -1 for none
/// @return the exit code
int runUserCommand(const std::vector<std::string>& words, std::istream& in, std::ostream& out,
                   std::ostream& errors, int terminal);

}  // namespace papanel
