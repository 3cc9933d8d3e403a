// SPDX-License-Identifier: Apache-2.0
#include "paserver/IncomingUploads.h"

#include <algorithm>
#include <fcntl.h>
#include <tuple>
#include <utility>

#include "simserver/audio/AudioFile.h"
#include "simserver/protocol/Refused.h"

namespace paserver {

using simserver::Refused;
using simserver::UploadFolder;

namespace {

constexpr std::size_t maxKnown = 1000;  // with those that are over

}  // namespace

IncomingUploads::Upload::Upload(palink::UploadBegin announced, std::filesystem::path target,
                                std::filesystem::path filled)
    : file(std::move(announced)),
      place(std::move(target)),
      draft(std::move(filled)),
      written(std::make_unique<pautil::Descriptor>(open(draft.c_str(), O_WRONLY | O_CLOEXEC))) {}

IncomingUploads::~IncomingUploads() {
    for (auto& [id, upload] : uploads_) {
        end(upload, "the server ends");
    }
}

palink::UploadProgress IncomingUploads::begin(const std::string& id,
                                              const palink::UploadBegin& file, std::int64_t nowMS) {
    if (const auto known = uploads_.find(id); known != uploads_.end()) {
        const palink::UploadBegin& begun = known->second.file;
        if (std::tie(begun.name, begun.size, begun.sha256) !=
            std::tie(file.name, file.size, file.sha256)) {
            throw Refused("the upload has begun as another file");
        }
        known->second.lastMS = nowMS;
        return progress(known->second);
    }
    const auto place = folder_.placeOf(file.name);
    if (!place) {
        throw Refused("\"" + file.name + "\" is not a file name in " + UploadFolder::serverFolder);
    }
    if (file.size > maxBytes) {
        throw Refused("a file may have " + std::to_string(maxBytes) + " bytes");
    }
    const auto underWay = std::count_if(uploads_.begin(), uploads_.end(), [](const auto& entry) {
        return entry.second.written != nullptr;
    });
    if (static_cast<std::size_t>(underWay) >= maxUnderWay || uploads_.size() >= maxKnown) {
        throw Refused("too many files are being uploaded");
    }
    Upload& upload = uploads_.try_emplace(id, file, *place, folder_.newDraft()).first->second;
    ++counts_.underWay;
    upload.lastMS = nowMS;
    if (file.size == 0) {
        finish(upload);
    }
    return progress(upload);
}

palink::UploadProgress IncomingUploads::add(const std::string& id, std::int64_t offset,
                                            const std::string& piece, std::int64_t nowMS) {
    const auto known = uploads_.find(id);
    if (known == uploads_.end()) {
        throw Refused("this upload has not begun, or has ended");
    }
    Upload& upload = known->second;
    upload.lastMS = nowMS;
    if (upload.written == nullptr || offset != upload.offset) {
        return progress(upload);
    }
    const auto size = static_cast<std::int64_t>(piece.size());
    if (upload.offset + size > upload.file.size) {
        end(upload, "there is more data than the size that was announced");
    } else if (const auto error = upload.written->write(piece.data(), piece.size())) {
        end(upload, error.message());
    } else {
        upload.offset += size;
        if (upload.offset == upload.file.size) {
            finish(upload);
        }
    }
    return progress(upload);
}

void IncomingUploads::expire(std::int64_t nowMS) {
    for (auto it = uploads_.begin(); it != uploads_.end();) {
        if (it->second.lastMS + lifeMS <= nowMS) {
            end(it->second, "it has taken too long");
            it = uploads_.erase(it);
        } else {
            ++it;
        }
    }
}

/// @throws Refused when the upload has ended without being stored
palink::UploadProgress IncomingUploads::progress(const Upload& upload) {
    if (!upload.refusal.empty()) {
        throw Refused(upload.refusal);
    }
    return {upload.written == nullptr, upload.offset};
}

/// All of it is there.
void IncomingUploads::finish(Upload& upload) {
    try {
        if (simserver::sha256(upload.draft) != upload.file.sha256) {
            end(upload, "what has arrived has another checksum");
            return;
        }
        UploadFolder::putDraft(upload.draft, upload.place);
        upload.written.reset();
        --counts_.underWay;
        ++counts_.stored;
    } catch (const Refused& refused) {
        end(upload, refused.what());
    }
}

void IncomingUploads::end(Upload& upload, const std::string& refusal) {
    if (upload.written != nullptr) {
        upload.written.reset();
        upload.refusal = refusal;
        --counts_.underWay;
        ++counts_.failed;
        std::error_code ignored;
        std::filesystem::remove(upload.draft, ignored);
    }
}

}  // namespace paserver
