#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "link/Transport.h"

namespace simserver {

/// The folder of this machine that stands for the server's folder of uploaded files. Every function
/// may be called from any thread: nothing changes but the files, each of them at one stroke.
///
/// Previews, and what is being written, lie in a folder of their own inside. The next server that
/// uses the spool alone empties it when it starts, so that they do not pile up.
class UploadFolder {
public:
    static constexpr const char* serverFolder = "/home/quillon/tmp/";
    static constexpr const char* previewFolder = "/home/quillon/tmp/pa-previews/";

    /// @param folder made if needed; empty for a temporary one, removed with this object
    /// @throws std::filesystem::filesystem_error when it cannot be made
    explicit UploadFolder(const std::filesystem::path& folder);
    UploadFolder(const UploadFolder&) = delete;
    UploadFolder& operator=(const UploadFolder&) = delete;
    ~UploadFolder();

    /// Where a file of the server's folder lies on this machine; nothing for a path that does not
    /// name a file of that very folder.
    std::optional<std::filesystem::path> placeOf(const std::string& serverPath) const;

    /// The same for the folder of previews.
    std::optional<std::filesystem::path> placeOfPreview(const std::string& serverPath) const;

    /// Has a new file written by `write` and puts it at `place` at one stroke, instead of another
    /// one of that name. Nothing is left of a file that cannot be written.
    /// @throws Refused when there is no room for it, and what `write` throws
    void putWhole(const std::filesystem::path& place,
                  const std::function<void(const std::filesystem::path&)>& write) const;

    /// Copies a file of this machine, in place of one that has the same name.
    palink::UploadResult store(const std::string& localPath, const std::string& serverPath) const;

private:
    const bool temporary_;
    const std::filesystem::path folder_;
    const std::filesystem::path previews_;
    const int use_;  // descriptor of the folder, with a lock that all who use it share
};

}  // namespace simserver
