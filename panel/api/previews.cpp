// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <sstream>

#include "client/Preview.h"
#include "client/choose.h"
#include "panel/api/AudioStore.h"
#include "panel/api/Body.h"
#include "panel/api/outcome.h"
#include "panel/api/routes.h"
#include "util/FileError.h"
#include "util/fileUri.h"

namespace papanel {

using namespace paclient;

namespace {

std::string contentOf(const std::filesystem::path& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

/// The audio that the server has rendered. The server chooses what the address names, so nothing
/// but a WAV file is read.
std::string audioAt(const std::string& uri) {
    constexpr std::uintmax_t greatestFile = std::uintmax_t{64} << 20U;
    const auto path = pautil::pathOfFileUri(uri);
    if (!path) {
        throw ApiError(409, "refused", "the server keeps the audio where it cannot be read here");
    }
    try {
        paoperating::checkWav(path->string());
    } catch (const pautil::FileError&) {
        throw ApiError(409, "refused", "the server's audio is no WAV file with sound in it");
    }
    if (std::filesystem::file_size(*path) > greatestFile) {
        throw ApiError(409, "refused", "the server's audio is too long");
    }
    return contentOf(*path);
}

ApiReply makePreview(Services& services, const ApiRequest& request) {
    using Text = std::string;
    struct Asked {
        Text text;
        std::optional<Text> language;
        std::optional<Text> voice;
    };
    const auto asked = readMembers(request.body, [](Body& body) {
        return Asked{body.get<Text>("text"), body.find<Text>("language"), body.find<Text>("voice")};
    });
    requireConnected(services);
    const TTSVocalizer voice = chooseVoice(asked.language, asked.voice);
    std::string uri;
    const auto speak = [&](const Wait& wait) {
        const RenderedPreview rendered = renderPreview(asked.text, voice, wait);
        uri = rendered.uri;
        return rendered.confirmation;
    };
    const Confirmation done = operate(services, "there is audio", speak, previewExpiry);
    const auto audio =
        services.audio.add(request.caller.user, "preview", audioAt(uri), AudioStore::Kind::Preview);
    return {201, doneAnswer(done, "there is audio",
                            {{"id", audio->id},
                             {"url", "/api/v1/previews/" + audio->id},
                             {"seconds", audio->format.seconds}})};
}

ApiReply getPreview(Services& services, const ApiRequest& request) {
    const auto audio = services.audio.find(request.caller.user, request.parts.at(0));
    ApiReply reply;
    reply.contentType = "audio/wav";
    reply.bytes = contentOf(audio->path);
    return reply;
}

}  // namespace

Routes previewRoutes() {
    return {
        {"POST", "/previews", Access::Operator, Effect::Operates, "preview text",
         answered<makePreview>},
        {"GET", "/previews/{id}", Access::Operator, Effect::Reads, nullptr, answered<getPreview>},
    };
}

}  // namespace papanel
