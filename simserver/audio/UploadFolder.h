// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "link/Transport.h"
#include "util/Descriptor.h"
#include "util/TemporaryFolder.h"

namespace simserver {

/// The folder of this machine that holds the server's uploaded files. Every function may be called
/// from any thread: only the files change, each of them atomically.
///
/// Previews, and files that are being written, are in a folder inside. A server that starts while
/// no other uses the upload folder empties it, so that they do not accumulate.
class UploadFolder {
public:
    static constexpr const char* serverFolder = "/home/quillon/tmp/";
    static constexpr const char* previewFolder = "/home/quillon/tmp/pa-previews/";

    /// @param folder made if needed; empty for a temporary one, removed with this object; those
    ///        of servers that were killed are removed as well
    /// @param initial a folder whose files it begins with, as symbolic links; may be missing
    /// @throws std::filesystem::filesystem_error when it cannot be made, or `initial` not be read
    /// @throws pautil::FileError when a temporary one cannot be made
    explicit UploadFolder(const std::filesystem::path& folder,
                          const std::filesystem::path& initial = {});
    UploadFolder(const UploadFolder&) = delete;
    UploadFolder& operator=(const UploadFolder&) = delete;
    ~UploadFolder() = default;

    /// The place of a file of the server's folder on this machine; nothing for a path that does not
    /// name a file directly in that folder.
    std::optional<std::filesystem::path> placeOf(const std::string& serverPath) const;

    /// The same for the folder of previews.
    std::optional<std::filesystem::path> placeOfPreview(const std::string& serverPath) const;

    /// The server's paths of the files in its folder, in order.
    std::vector<std::string> paths() const;

    /// Has a new file written by `write` and moves it to `place` atomically, where it replaces a
    /// file of that name. Nothing is left of a file that cannot be written.
    /// @throws Refused when it does not fit on the disk, and what `write` throws
    void putWhole(const std::filesystem::path& place,
                  const std::function<void(const std::filesystem::path&)>& write) const;

    /// A new, empty file to be written to and moved to its place; it is the caller's to remove.
    /// @throws Refused when it cannot be made
    std::filesystem::path newDraft() const;

    /// Moves a draft to `place` as `putWhole` does.
    /// @throws Refused when that is impossible; then the draft is still there
    static void putDraft(const std::filesystem::path& draft, const std::filesystem::path& place);

    /// Copies a file of this machine; it replaces a file of the same name.
    palink::UploadResult store(const std::string& localPath, const std::string& serverPath) const;

private:
    const std::unique_ptr<const pautil::TemporaryFolder> temporary_;  // none for a given folder
    const std::filesystem::path folder_;
    const std::filesystem::path previews_;
    const pautil::Descriptor use_;  // the folder, with a lock that all its users share
};

}  // namespace simserver
