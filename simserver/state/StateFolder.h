// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace simserver {

/// A folder that one server at a time uses, of whatever process. The use ends with the object, and
/// with the process, however it ends. A file `server.lock` inside is locked; its content, a process
/// id and a program name, is for messages.
class StateFolder {
public:
    /// @param path  made if needed
    /// @param files names of the files in it that are written to
    /// @throws std::runtime_error when it cannot be made or read, and when another server uses it;
    ///         the message names that server's process
    StateFolder(std::filesystem::path path, std::vector<const char*> files);
    StateFolder(const StateFolder&) = delete;
    StateFolder& operator=(const StateFolder&) = delete;
    ~StateFolder();

    /// Whether the folder, or one of the files, cannot be written to. Then other processes may read
    /// it at the same time.
    bool isReadOnly() const { return !whyReadOnly_.empty(); }

    /// Names the file and the reason; empty when everything can be written to.
    const std::string& whyReadOnly() const { return whyReadOnly_; }

    const std::filesystem::path& path() const { return path_; }

    /// The place of a file in it.
    /// @throws std::runtime_error when there is something else than a regular file of its own
    std::filesystem::path file(const char* name) const;

private:
    const std::filesystem::path path_;
    std::string whyReadOnly_;
    int lock_ = -1;  // descriptor; -1 in a folder without lock file that cannot be written to
};

}  // namespace simserver
