// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/uploadMessages.h"

#include "link/mqtt/jsonMessage.h"

namespace palink {

namespace {

using Json = nlohmann::json;

constexpr std::size_t sha256Digits = 64;

}  // namespace

std::string encodeUploadBegin(const UploadBegin& begin) {
    return jsonText(Json{{"name", begin.name}, {"size", begin.size}, {"sha256", begin.sha256}});
}

std::string encodeUploadProgress(const UploadProgress& progress) {
    return jsonText(progress.stored ? Json{{"stored", true}} : Json{{"offset", progress.offset}});
}

UploadBegin decodeUploadBegin(std::string_view payload) {
    const JsonObject json(payload);
    UploadBegin begin{json.text("name"), json.integer("size", 0), json.text("sha256")};
    if (begin.sha256.size() != sha256Digits ||
        begin.sha256.find_first_not_of("0123456789abcdef") != std::string::npos) {
        JsonObject::refuse("sha256", "has no 64 hexadecimal digits in lower case");
    }
    return begin;
}

UploadProgress decodeUploadProgress(std::string_view result) {
    const JsonObject json(result);
    const bool stored = json.has("stored") && json.boolean("stored");
    return {stored, stored ? 0 : json.integer("offset", 0)};
}

}  // namespace palink
