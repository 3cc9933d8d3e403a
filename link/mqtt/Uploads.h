// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "../Transport.h"
#include "Requests.h"

namespace palink {

/// Uploads of files, docs/link-protocol.md. May be used from any thread.
class Uploads {
public:
    /// How long an upload goes on without progress.
    static constexpr std::chrono::seconds patience{30};

    /// @param requests    must outlive this
    /// @param server      gives the destination number of the server; nothing while there is none
    /// @param isAbandoned asked often by the thread that uploads: whether the upload is to end
    Uploads(Requests& requests, std::function<std::optional<int>()> server,
            std::function<bool()> isAbandoned);

    /// Sends a file and waits for the result.
    UploadResult upload(const std::string& localPath, const std::string& serverPath);

    /// Has those that are under way, and later ones, end at once.
    void stop() { stopped_ = true; }
    void start() { stopped_ = false; }

private:
    class Upload;

    Requests& requests_;
    const std::function<std::optional<int>()> server_;
    const std::function<bool()> isAbandoned_;
    std::atomic<bool> stopped_{false};
};

}  // namespace palink
