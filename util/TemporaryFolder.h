// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

#include "util/Descriptor.h"

namespace pautil {

/// A new folder in the system's folder for temporary files, for this user only, removed with the
/// object. Its name is `PREFIX-PID-` and six characters.
///
/// A process that is killed leaves its folder. The next object with the same prefix removes those
/// of the same user whose process has ended; a lock on each folder in use decides, as process
/// numbers are used again and differ between containers.
class TemporaryFolder {
public:
    /// @param prefix of the name, without "-"
    /// @throws FileError when the folder cannot be made
    explicit TemporaryFolder(const std::string& prefix);
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    const std::filesystem::path path_;
    const Descriptor lock_;
};

}  // namespace pautil
