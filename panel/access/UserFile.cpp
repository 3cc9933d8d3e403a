// SPDX-License-Identifier: Apache-2.0
#include "panel/access/UserFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

#include "framework/log.h"
#include "panel/access/passwords.h"
#include "util/Descriptor.h"
#include "util/FileError.h"

namespace papanel {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostBytes = std::size_t{1} << 20U;

/// The user of a line, which names one.
/// @throws std::invalid_argument
User parseUser(std::string_view line) {
    const std::size_t role = line.find(':');
    const std::size_t hash = role == std::string_view::npos ? role : line.find(':', role + 1);
    if (hash == std::string_view::npos) {
        throw std::invalid_argument("NAME:ROLE:HASH is expected");
    }
    User user{std::string(line.substr(0, role)), {}, std::string(line.substr(hash + 1))};
    const auto given = roleWithName(line.substr(role + 1, hash - role - 1));
    if (!isUserName(user.name)) {
        throw std::invalid_argument("no user may have this name");
    }
    if (!given) {
        throw std::invalid_argument("the role is neither operator nor monitor");
    }
    if (!isPasswordHash(user.hash)) {
        throw std::invalid_argument("the hash of the password is not one of yescrypt");
    }
    user.role = *given;
    return user;
}

[[noreturn]] void refuse(const fs::path& file, const std::string& why) {
    throw pautil::FileError("the file of users " + file.string() + ": " + why);
}

std::string contentOf(const fs::path& file, struct stat& status) {
    const pautil::Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!opened.isOpen() || fstat(opened.number(), &status) != 0) {
        refuse(file, pautil::lastError().message());
    }
    if (!S_ISREG(status.st_mode)) {
        refuse(file, "it is not a regular file");
    }
    // Another owner may let this user read it by the bits of the group.
    const mode_t others = status.st_uid == geteuid() ? S_IRWXG | S_IRWXO : S_IRWXO;
    if ((status.st_mode & others) != 0) {
        refuse(file, "others than its owner may use it: chmod 600 it");
    }
    std::string content;
    std::array<char, 65536> buffer{};
    ssize_t count = 0;
    while ((count = read(opened.number(), buffer.data(), buffer.size())) > 0 &&
           content.size() <= mostBytes) {
        content.append(buffer.data(), static_cast<std::size_t>(count));
    }
    if (count < 0) {
        refuse(file, pautil::lastError().message());
    }
    if (content.size() > mostBytes) {
        refuse(file, "it is longer than 1 MiB");
    }
    return content;
}

bool isSame(const struct stat& a, const struct stat& b) {
    const auto same = [](const timespec& x, const timespec& y) {
        return x.tv_sec == y.tv_sec && x.tv_nsec == y.tv_nsec;
    };
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           same(a.st_mtim, b.st_mtim) && same(a.st_ctim, b.st_ctim);
}

}  // namespace

// ------------------------------------------------------------------------------------- UserLines

UserLines::UserLines(std::string_view text) {
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || line.front() == '#') {
            lines_.push_back({std::string(line), std::nullopt});
            continue;
        }
        const std::string place = "line " + std::to_string(number) + ": ";
        try {
            User user = parseUser(line);
            if (find(user.name) != nullptr) {
                throw std::invalid_argument("the user " + user.name + " is there twice");
            }
            lines_.push_back({"", std::move(user)});
        } catch (const std::invalid_argument& wrong) {
            throw std::invalid_argument(place + wrong.what());
        }
    }
}

std::vector<UserLines::Line>::iterator UserLines::lineOf(std::string_view name) {
    return std::find_if(lines_.begin(), lines_.end(),
                        [name](const Line& line) { return line.user && line.user->name == name; });
}

const User* UserLines::find(std::string_view name) const {
    const auto found = std::find_if(lines_.begin(), lines_.end(), [name](const Line& line) {
        return line.user && line.user->name == name;
    });
    return found == lines_.end() ? nullptr : &*found->user;
}

std::vector<User> UserLines::users() const {
    std::vector<User> users;
    for (const Line& line : lines_) {
        if (line.user) {
            users.push_back(*line.user);
        }
    }
    return users;
}

void UserLines::put(const User& user) {
    const auto found = lineOf(user.name);
    (found == lines_.end() ? *lines_.insert(found, Line()) : *found).user = user;
}

bool UserLines::remove(std::string_view name) {
    const auto found = lineOf(name);
    if (found == lines_.end()) {
        return false;
    }
    lines_.erase(found);
    return true;
}

std::string UserLines::text() const {
    std::string text;
    for (const Line& line : lines_) {
        const auto& user = line.user;
        text += user ? user->name + ':' + roleName(user->role) + ':' + user->hash : line.text;
        text += '\n';
    }
    return text;
}

UserLines readUsers(const fs::path& file, struct stat* stamp) {
    struct stat status {};
    const std::string content = contentOf(file, status);
    if (stamp != nullptr) {
        *stamp = status;
    }
    try {
        return UserLines(content);
    } catch (const std::invalid_argument& wrong) {
        refuse(file, wrong.what());
    }
}

// -------------------------------------------------------------------------------------- UserFile

UserFile::UserFile(fs::path file) : file_(std::move(file)), users_(readUsers(file_, &stamp_)) {}

bool UserFile::readAgain() {
    {
        const std::lock_guard<std::mutex> lock(lock_);
        stamp_ = {};
        fault_.clear();
    }
    static_cast<void>(find(""));
    const std::lock_guard<std::mutex> lock(lock_);
    return fault_.empty();
}

std::optional<User> UserFile::find(std::string_view name) {
    std::string fault;
    std::optional<User> found;
    {
        const std::lock_guard<std::mutex> lock(lock_);
        fault = refresh();
        if (const User* const user = users_.find(name)) {
            found = *user;
        }
    }
    if (!fault.empty()) {
        handleError(1, "%s; the users are those of before", fault.c_str());
    }
    return found;
}

/// @return what is wrong with the file, if it is something else than before
std::string UserFile::refresh() {
    struct stat now {};
    if (stat(file_.c_str(), &now) == 0 && isSame(now, stamp_)) {
        return "";
    }
    std::string fault;
    try {
        users_ = readUsers(file_, &stamp_);
    } catch (const pautil::FileError& broken) {
        fault = broken.what();
    }
    return std::exchange(fault_, fault) == fault ? "" : fault;
}

}  // namespace papanel
