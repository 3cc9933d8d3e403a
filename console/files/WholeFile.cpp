#include "console/files/WholeFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "console/ExitCode.h"
#include "framework/uuid.h"

namespace console {

namespace fs = std::filesystem;

namespace {

constexpr const char* cannotRead = " cannot be read: ";
constexpr const char* cannotWrite = " cannot be written: ";

/// An open file, closed with the object.
struct Descriptor {
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) {
            close(number);
        }
    }

    const int number;  ///< negative when it could not be opened
};

/// Why the last call of the system has failed.
std::error_code errorIf(bool failed) {
    return {failed ? errno : 0, std::generic_category()};
}

void require(const std::error_code& error, const fs::path& path, const char* what) {
    if (error) {
        throw Failure(ExitCode::Usage, path.string() + what + error.message());
    }
}

void writeAll(const Descriptor& to, const char* data, std::size_t size, const fs::path& place) {
    for (std::size_t at = 0; at < size;) {
        const ssize_t written = write(to.number, data + at, size - at);
        require(errorIf(written < 0), place, cannotWrite);
        at += static_cast<std::size_t>(written);
    }
}

/// A symbolic link stands for the file that it names.
fs::path resolved(const fs::path& place) {
    std::error_code unresolved;
    const fs::path target = fs::canonical(place, unresolved);
    return unresolved ? place : target;
}

/// An empty file with a new name in the folder of `place`, as open to others as the one that it
/// replaces.
fs::path beginBeside(const fs::path& place) {
    constexpr mode_t asTheUserWants = 0666;  // but for the bits of the umask
    std::string id;
    generateUUID(id);
    fs::path name = place.parent_path() / ('.' + id);
    const Descriptor made(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL, asTheUserWants));
    require(errorIf(made.number < 0), place, cannotWrite);
    struct stat replaced {};
    if (stat(place.c_str(), &replaced) == 0) {
        constexpr mode_t permissions = 07777;
        fchmod(made.number, replaced.st_mode & permissions);
    }
    return name;
}

}  // namespace

WholeFile::WholeFile(const fs::path& place) : place_(resolved(place)) {
    std::error_code unknown;
    const fs::file_status status = fs::status(place_, unknown);
    if (status.type() == fs::file_type::none) {
        require(unknown, place_, cannotWrite);  // a name too long, a folder that is closed
    }
    const bool isFree = !fs::exists(status) || fs::is_regular_file(status);
    if (!isFree || !place_.has_filename()) {
        throw Failure(ExitCode::Usage, "'" + place_.string() + "' is not the name of a file");
    }
    draft_ = beginBeside(place_);
}

WholeFile::~WholeFile() {
    std::error_code gone;
    fs::remove(draft_, gone);
}

void WholeFile::fillWith(const std::string& text) {
    const Descriptor to(open(draft_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    require(errorIf(to.number < 0), place_, cannotWrite);
    writeAll(to, text.data(), text.size(), place_);
}

void WholeFile::fillFrom(const fs::path& original) {
    const Descriptor from(open(original.c_str(), O_RDONLY | O_CLOEXEC));
    require(errorIf(from.number < 0), original, cannotRead);
    const Descriptor to(open(draft_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    require(errorIf(to.number < 0), place_, cannotWrite);
    std::array<char, 65536> buffer{};
    ssize_t taken = 0;
    while ((taken = read(from.number, buffer.data(), buffer.size())) > 0) {
        writeAll(to, buffer.data(), static_cast<std::size_t>(taken), place_);
    }
    require(errorIf(taken < 0), original, cannotRead);
}

void WholeFile::complete() {
    std::error_code error;
    fs::rename(draft_, place_, error);
    require(error, place_, cannotWrite);
}

}  // namespace console
