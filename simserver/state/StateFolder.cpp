// SPDX-License-Identifier: Apache-2.0
#include "simserver/state/StateFolder.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace simserver {

namespace fs = std::filesystem;

namespace {

constexpr const char* lockName = "server.lock";

[[noreturn]] void failWith(int error) {
    throw std::runtime_error(std::generic_category().message(error));
}

fs::path madeFolder(fs::path path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) {
        failWith(error.value());
    }
    if (faccessat(AT_FDCWD, path.c_str(), R_OK | X_OK, AT_EACCESS) != 0) {
        failWith(errno);
    }
    return path;
}

/// Why a file cannot be written to, empty when it can.
std::string whyNotWritable(const fs::path& file) {
    if (faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) == 0) {
        return "";
    }
    return '"' + file.string() + "\": " + std::generic_category().message(errno);
}

/// Why a folder, or one of these files in it, cannot be written to; empty when all can.
std::string whyReadOnlyIn(const fs::path& folder, const std::vector<const char*>& files) {
    std::string why = whyNotWritable(folder);
    for (const char* const name : files) {
        if (why.empty() && fs::exists(folder / name)) {
            why = whyNotWritable(folder / name);
        }
    }
    return why;
}

/// The process that has locked the file, by its own account.
std::string userOf(int lock) {
    std::array<char, 64> line{};  // ends with a NUL
    std::array<char, 21> pid{};
    std::array<char, 41> program{};
    const bool isSigned =
        pread(lock, line.data(), line.size() - 1, 0) > 0 &&
        std::sscanf(line.data(), "%20[0-9] %40[ -~]", pid.data(), program.data()) == 2;
    return isSigned ? "process " + std::string(pid.data()) + " (" + program.data() + ")"
                    : "another process";
}

/// Writes who has locked the file. A failure costs others the name only.
void signAsUser(int lock) {
    const std::string line = std::to_string(getpid()) + ' ' +
                             std::string(program_invocation_short_name).substr(0, 40) + '\n';
    if (ftruncate(lock, 0) != 0 || pwrite(lock, line.data(), line.size(), 0) < 0) {
        return;
    }
}

}  // namespace

StateFolder::StateFolder(fs::path path, std::vector<const char*> files)
    : path_(madeFolder(std::move(path))) {
    files.push_back(lockName);
    whyReadOnly_ = whyReadOnlyIn(path_, files);
    const int flags = (isReadOnly() ? O_RDONLY : O_RDWR | O_CREAT) | O_CLOEXEC | O_NOFOLLOW;
    lock_ = open(file(lockName).c_str(), flags, 0666);
    if (lock_ < 0) {
        if (isReadOnly() && errno == ENOENT) {
            return;  // no server that can write has used it
        }
        failWith(errno);
    }
    if (flock(lock_, (isReadOnly() ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0) {
        const int error = errno;
        const std::string user = userOf(lock_);
        close(lock_);
        if (error != EWOULDBLOCK) {
            failWith(error);
        }
        throw std::runtime_error("it is in use by " + user);
    }
    if (!isReadOnly()) {
        signAsUser(lock_);
    }
}

StateFolder::~StateFolder() {
    if (lock_ >= 0) {
        close(lock_);
    }
}

fs::path StateFolder::file(const char* name) const {
    std::error_code error;
    fs::path place = path_ / name;
    const fs::file_type type = fs::symlink_status(place, error).type();
    if (type != fs::file_type::not_found && type != fs::file_type::regular) {
        throw std::runtime_error(std::string(name) + " is not a regular file");
    }
    return place;
}

}  // namespace simserver
