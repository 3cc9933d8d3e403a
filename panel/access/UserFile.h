// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include "panel/access/User.h"

namespace papanel {

/// The lines of a file of users: NAME:ROLE:HASH each. Empty lines, and those that begin with "#",
/// stay as they are.
class UserLines {
public:
    /// @throws std::invalid_argument with the number of a line that is wrong
    explicit UserLines(std::string_view text = "");

    [[nodiscard]] const User* find(std::string_view name) const;
    [[nodiscard]] std::vector<User> users() const;

    /// Puts a user in place of the one with that name, or at the end.
    void put(const User& user);
    /// @return whether there was one
    bool remove(std::string_view name);

    [[nodiscard]] std::string text() const;

private:
    struct Line {
        std::string text;  // of a line that names no user
        std::optional<User> user;
    };

    std::vector<Line>::iterator lineOf(std::string_view name);

    std::vector<Line> lines_;
};

/// Reads a file of users.
/// @param stamp receives what the file was like; may be null
/// @throws pautil::FileError when it cannot be read, others than its owner may read it, or a line
/// is
///         wrong
UserLines readUsers(const std::filesystem::path& file, struct stat* stamp = nullptr);

/// The users who may log in, from a file that is read again when it has changed. While it is broken
/// the last good state counts, and the log says why, once. May be called from any thread.
class UserFile {
public:
    /// @throws pautil::FileError as readUsers
    explicit UserFile(std::filesystem::path file);

    /// The user with that name, if there is one now.
    [[nodiscard]] std::optional<User> find(std::string_view name);

    /// Reads the file, changed or not, and logs what is wrong with it, again.
    /// @return whether it is as it should be
    bool readAgain();

private:
    std::string refresh();

    const std::filesystem::path file_;
    std::mutex lock_;
    // Guarded by lock_.
    UserLines users_;
    struct stat stamp_ {};  // of the file when it was last read
    std::string fault_;     // reported last
};

}  // namespace papanel
