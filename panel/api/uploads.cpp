// SPDX-License-Identifier: Apache-2.0
#include "client/shortened.h"
#include "panel/api/AudioStore.h"
#include "panel/api/outcome.h"
#include "panel/api/routes.h"

namespace papanel {

namespace {

ApiReply upload(Services& services, const ApiRequest& request) {
    constexpr std::size_t longestName = 200;
    const std::string name = paclient::shortened(request.queryOr("name"), longestName);
    const auto audio = services.audio.add(request.caller.user, name, request.bytes);
    return {201, doneAnswer({}, "the file is there for an hour",
                            {{"id", audio->id},
                             {"name", audio->name},
                             {"seconds", audio->format.seconds},
                             {"rate", audio->format.rate},
                             {"channels", audio->format.channels}})};
}

}  // namespace

Routes uploadRoutes() {
    constexpr std::size_t greatestFile = std::size_t{64} << 20U;
    return {{"POST", "/uploads", Access::Operator, Effect::Operates, "upload audio",
             answered<upload>, "audio/wav", greatestFile}};
}

}  // namespace papanel
