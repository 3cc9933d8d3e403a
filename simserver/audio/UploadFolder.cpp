// SPDX-License-Identifier: Apache-2.0
#include "simserver/audio/UploadFolder.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <unistd.h>

#include "simserver/protocol/Refused.h"

namespace simserver {

namespace fs = std::filesystem;

namespace {

fs::path madeFolder(const fs::path& wanted) {
    fs::create_directories(wanted);
    return wanted;
}

/// Waits until a file or folder has reached the disk, so that a power failure leaves it whole.
void sync(const fs::path& path) {
    const pautil::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() || fsync(file.number()) != 0) {
        throw Refused(pautil::lastError().message());
    }
}

void linkFiles(const fs::path& from, const fs::path& to) {
    if (from.empty() || !fs::exists(from)) {
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
        if (entry.is_regular_file()) {
            fs::create_symlink(fs::absolute(entry.path()), to / entry.path().filename());
        }
    }
}

/// @param here the folder of this machine for the server's folder `onServer`
std::optional<fs::path> placeIn(const fs::path& here, std::string_view onServer,
                                const std::string& serverPath) {
    if (serverPath.compare(0, onServer.size(), onServer) != 0) {
        return std::nullopt;
    }
    const std::string name = serverPath.substr(onServer.size());
    const bool leaves = name.empty() || name == "." || name == ".." ||
                        name.find_first_of(std::string_view("/\0", 2)) != std::string::npos;
    return leaves ? std::nullopt : std::optional(here / name);
}

}  // namespace

UploadFolder::UploadFolder(const fs::path& folder, const fs::path& initial)
    : temporary_(folder.empty() ? std::make_unique<pautil::TemporaryFolder>("pa-spool") : nullptr),
      folder_(temporary_ ? temporary_->path() : madeFolder(folder)),
      previews_(folder_ / fs::path(previewFolder).parent_path().filename()),
      use_(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const bool exclusive = flock(use_.number(), LOCK_EX | LOCK_NB) == 0;
    if (exclusive) {
        std::error_code ignored;
        fs::remove_all(previews_, ignored);
    }
    flock(use_.number(), LOCK_SH);
    linkFiles(initial, folder_);
}

std::optional<fs::path> UploadFolder::placeOf(const std::string& serverPath) const {
    return placeIn(folder_, serverFolder, serverPath);
}

std::optional<fs::path> UploadFolder::placeOfPreview(const std::string& serverPath) const {
    return placeIn(previews_, previewFolder, serverPath);
}

std::vector<std::string> UploadFolder::paths() const {
    std::vector<std::string> paths;
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder_, ignored)) {
        if (entry.is_regular_file(ignored)) {
            paths.push_back(serverFolder + entry.path().filename().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

palink::UploadResult UploadFolder::store(const std::string& localPath,
                                         const std::string& serverPath) const {
    const std::optional<fs::path> place = placeOf(serverPath);
    if (!place) {
        return {false, "\"" + serverPath + "\" is not a file name in " + serverFolder};
    }
    std::error_code error;
    if (!fs::is_regular_file(localPath, error)) {
        return {false, "cannot read \"" + localPath +
                           "\": " + (error ? error.message() : "not a regular file")};
    }
    try {
        putWhole(*place, [&](const fs::path& written) {
            fs::copy_file(localPath, written, fs::copy_options::overwrite_existing, error);
            if (error) {
                throw Refused(error.message());
            }
        });
    } catch (const Refused& refused) {
        return {false, "cannot store \"" + localPath + "\": " + refused.what()};
    }
    return {true, ""};
}

void UploadFolder::putWhole(const fs::path& place,
                            const std::function<void(const fs::path&)>& write) const {
    const fs::path draft = newDraft();
    try {
        write(draft);
        putDraft(draft, place);
    } catch (...) {
        std::error_code ignored;
        fs::remove(draft, ignored);
        throw;
    }
}

fs::path UploadFolder::newDraft() const {
    std::error_code ignored;
    fs::create_directory(previews_, ignored);
    std::string name = (previews_ / ".upload-XXXXXX").string();
    const pautil::Descriptor file(mkstemp(name.data()));
    if (!file.isOpen()) {
        throw Refused(pautil::lastError().message());
    }
    return name;
}

void UploadFolder::putDraft(const fs::path& draft, const fs::path& place) {
    sync(draft);
    std::error_code error;
    fs::rename(draft, place, error);
    if (error) {
        throw Refused(error.message());
    }
    sync(place.parent_path());
}

}  // namespace simserver
