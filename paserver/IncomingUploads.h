// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "link/mqtt/uploadMessages.h"
#include "simserver/audio/UploadFolder.h"
#include "util/Descriptor.h"

namespace paserver {

/// What has become of files. Any thread counts and reads.
struct UploadCounts {
    std::atomic<std::uint64_t> underWay{0};
    std::atomic<std::uint64_t> stored{0};
    std::atomic<std::uint64_t> failed{0};
};

/// The files that clients send in pieces. Each is a draft in the upload folder until all of it is
/// there and its checksum is right. Passive: time, in ms, is an argument that never decreases.
class IncomingUploads {
public:
    static constexpr std::int64_t lifeMS = 30'000;  ///< after the last message
    static constexpr std::int64_t maxBytes = std::int64_t{256} << 20U;
    static constexpr std::size_t maxUnderWay = 16;

    /// @param folder must outlive the object, as must `counts`
    IncomingUploads(const simserver::UploadFolder& folder, UploadCounts& counts)
        : folder_(folder), counts_(counts) {}
    IncomingUploads(const IncomingUploads&) = delete;
    IncomingUploads& operator=(const IncomingUploads&) = delete;
    /// Deletes what is not complete.
    ~IncomingUploads();

    /// @param id of the upload, by the client
    /// @throws simserver::Refused
    palink::UploadProgress begin(const std::string& id, const palink::UploadBegin& file,
                                 std::int64_t nowMS);

    /// Takes the next piece; one at another offset is not used.
    /// @throws simserver::Refused
    palink::UploadProgress add(const std::string& id, std::int64_t offset, const std::string& piece,
                               std::int64_t nowMS);

    /// Forgets what has got no message for so long.
    void expire(std::int64_t nowMS);

private:
    struct Upload {
        Upload(palink::UploadBegin announced, std::filesystem::path target,
               std::filesystem::path filled);

        const palink::UploadBegin file;
        const std::filesystem::path place;
        const std::filesystem::path draft;            // there while the upload is under way
        std::unique_ptr<pautil::Descriptor> written;  // null when it is over
        std::int64_t offset = 0;
        std::string refusal;  // why it is over, when it was not stored
        std::int64_t lastMS = 0;
    };

    static palink::UploadProgress progress(const Upload& upload);
    void finish(Upload& upload);
    void end(Upload& upload, const std::string& refusal);

    const simserver::UploadFolder& folder_;
    UploadCounts& counts_;
    std::map<std::string, Upload> uploads_;  // by id; those that are over as well, for repetitions
};

}  // namespace paserver
