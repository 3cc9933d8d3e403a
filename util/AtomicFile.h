// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string_view>

namespace pautil {

/// A file that appears whole or not at all: it is filled next to its place, under a temporary name,
/// and then renamed. The file that was there before stays until then, and lends its permissions. A
/// symbolic link stands for the file that it names.
class AtomicFile {
public:
    /// Creates the temporary file, which shows that the folder can be written.
    /// @throws FileError when it cannot be created, or the place is taken by something else than a
    ///         regular file, or names an open file, as /dev/stdout does
    explicit AtomicFile(const std::filesystem::path& place);
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    /// Removes the temporary file unless it was completed.
    ~AtomicFile();

    /// Fills the file with a text, in place of what it holds.
    /// @throws FileError when it cannot be written
    void fillWith(std::string_view text);

    /// Fills the file with a copy of another one.
    /// @throws FileError when that cannot be read, or this cannot be written
    void fillFrom(const std::filesystem::path& original);

    /// Where it is filled.
    [[nodiscard]] const std::filesystem::path& draft() const { return draft_; }

    /// Renames it to its place.
    /// @throws FileError when that is impossible
    void complete();

private:
    std::filesystem::path place_;
    std::filesystem::path draft_;
};

}  // namespace pautil
