// SPDX-License-Identifier: Apache-2.0
#include "util/TemporaryFolder.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "util/FileError.h"

namespace pautil {

namespace fs = std::filesystem;

namespace {

constexpr int openFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// The process in a name like `PREFIX-PID-abcdef`; 0 for another name.
pid_t processIn(const std::string& name, const std::string& prefix) {
    const std::string start = prefix + '-';
    if (name.compare(0, start.size(), start) != 0) {
        return 0;
    }
    pid_t process = 0;
    const char* const end = name.data() + name.size();
    const char* const stop = std::from_chars(name.data() + start.size(), end, process).ptr;
    return stop != end && *stop == '-' ? process : 0;
}

bool isOwnAndUnused(const fs::path& folder) {
    const Descriptor opened(open(folder.c_str(), openFolder));
    struct stat status {};
    return opened.isOpen() && fstat(opened.number(), &status) == 0 && status.st_uid == geteuid() &&
           flock(opened.number(), LOCK_EX | LOCK_NB) == 0;
}

/// What cannot be removed stays.
void removeLeftovers(const fs::path& temporary, const std::string& prefix) {
    std::error_code ignored;
    for (fs::directory_iterator entry(temporary, ignored);
         !ignored && entry != fs::directory_iterator(); entry.increment(ignored)) {
        const pid_t process = processIn(entry->path().filename().string(), prefix);
        // A folder whose process lives may not be locked yet.
        const bool hasEnded = process > 0 && kill(process, 0) != 0 && errno == ESRCH;
        if (hasEnded && isOwnAndUnused(entry->path())) {
            std::error_code stays;
            fs::remove_all(entry->path(), stays);
        }
    }
}

fs::path makeFolder(const std::string& prefix) {
    const fs::path temporary = fs::temp_directory_path();
    removeLeftovers(temporary, prefix);
    std::string name = (temporary / (prefix + '-' + std::to_string(getpid()) + "-XXXXXX")).string();
    if (mkdtemp(name.data()) == nullptr) {
        throw FileError(name + " cannot be made: " + lastError().message());
    }
    return name;
}

}  // namespace

TemporaryFolder::TemporaryFolder(const std::string& prefix)
    : path_(makeFolder(prefix)), lock_(open(path_.c_str(), openFolder)) {
    flock(lock_.number(), LOCK_SH | LOCK_NB);  // without it the process number decides
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

}  // namespace pautil
