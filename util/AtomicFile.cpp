// SPDX-License-Identifier: Apache-2.0
#include "util/AtomicFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "util/Descriptor.h"
#include "util/FileError.h"

namespace pautil {

namespace fs = std::filesystem;

namespace {

constexpr const char* cannotRead = " cannot be read: ";
constexpr const char* cannotWrite = " cannot be written: ";

void require(const std::error_code& error, const fs::path& path, const char* what) {
    if (error) {
        throw FileError(path.string() + what + error.message());
    }
}

fs::path resolved(const fs::path& place) {
    std::error_code unresolved;
    const fs::path target = fs::canonical(place, unresolved);
    return unresolved ? place : target;
}

/// Whether the path leads over that of an open file, as /dev/stdout does: what is written there
/// continues the file, which must not be replaced.
bool isOpenFile(fs::path place) {
    std::error_code unknown;
    while (fs::is_symlink(place, unknown)) {
        const fs::path folder = fs::canonical(place.parent_path(), unknown);
        if (folder.string().rfind("/proc/", 0) == 0) {
            return true;
        }
        place = folder / fs::read_symlink(place, unknown);
    }
    return false;
}

/// An empty file with a new name in the folder of `place`, with the permissions of the file there.
fs::path createBeside(const fs::path& place) {
    constexpr mode_t permissions = 07777;
    constexpr mode_t asTheUserWants = 0666;  // but for the bits of the umask
    const std::string start = '.' + std::to_string(getpid()) + '-';
    for (int number = 0;; ++number) {
        fs::path name = place.parent_path() / (start + std::to_string(number));
        const Descriptor created(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL, asTheUserWants));
        if (!created.isOpen() && errno == EEXIST) {
            continue;
        }
        require(lastError(!created.isOpen()), place, cannotWrite);
        struct stat replaced {};
        if (stat(place.c_str(), &replaced) == 0) {
            fchmod(created.number(), replaced.st_mode & permissions);
        }
        return name;
    }
}

}  // namespace

AtomicFile::AtomicFile(const fs::path& place) : place_(resolved(place)) {
    std::error_code unknown;
    const fs::file_status status = fs::status(place_, unknown);
    if (status.type() == fs::file_type::none) {
        require(unknown, place_, cannotWrite);  // a name too long, a folder that is closed
    }
    const bool isFree = !fs::exists(status) || fs::is_regular_file(status);
    if (!isFree || !place_.has_filename() || isOpenFile(place)) {
        throw FileError("'" + place.string() + "' is not the name of a file");
    }
    draft_ = createBeside(place_);
}

AtomicFile::~AtomicFile() {
    std::error_code ignored;
    fs::remove(draft_, ignored);
}

void AtomicFile::fillWith(std::string_view text) {
    const Descriptor to(open(draft_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    require(lastError(!to.isOpen()), place_, cannotWrite);
    require(to.write(text.data(), text.size()), place_, cannotWrite);
}

void AtomicFile::fillFrom(const fs::path& original) {
    const Descriptor from(open(original.c_str(), O_RDONLY | O_CLOEXEC));
    require(lastError(!from.isOpen()), original, cannotRead);
    const Descriptor to(open(draft_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    require(lastError(!to.isOpen()), place_, cannotWrite);
    std::array<char, 65536> buffer{};
    ssize_t taken = 0;
    while ((taken = read(from.number(), buffer.data(), buffer.size())) > 0) {
        require(to.write(buffer.data(), static_cast<std::size_t>(taken)), place_, cannotWrite);
    }
    require(lastError(taken < 0), original, cannotRead);
}

void AtomicFile::complete() {
    std::error_code error;
    fs::rename(draft_, place_, error);
    require(error, place_, cannotWrite);
}

}  // namespace pautil
