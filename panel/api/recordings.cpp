// SPDX-License-Identifier: Apache-2.0
#include "client/confirmedOperations.h"
#include "operating/operations.h"
#include "operating/sentTexts.h"
#include "panel/api/Body.h"
#include "panel/api/outcome.h"
#include "panel/api/routes.h"

namespace papanel {

using namespace paclient;

namespace {

/// What is done with one recording.
struct PathOperation {
    const char* effect;
    std::string (*pathOf)(const std::string& given);
    Confirmation (*send)(const std::string& path, const Wait& wait);
    bool isConfirmed;
};

constexpr PathOperation startAt{" is being recorded", paoperating::playablePath, startRecording,
                                true};
constexpr PathOperation playBack{" is played back", paoperating::serverPath, previewRecording,
                                 false};
constexpr PathOperation deleteAt{" is deleted", paoperating::serverPath, deleteRecording, false};

template <const PathOperation& operation>
ApiReply ofRecording(Services& services, const ApiRequest& request) {
    const std::string path = operation.pathOf(
        readMembers(request.body, [](Body& body) { return body.get<std::string>("path"); }));
    const Confirmation done = operate(services, path + operation.effect, [&](const Wait& wait) {
        const Confirmation answer = operation.send(path, wait);
        return operation.isConfirmed ? answer : paoperating::unlessRefused(answer);
    });
    const std::string asked = operation.isConfirmed ? "" : "requested: ";
    return {200, doneAnswer(done, asked + path + operation.effect, {{"path", path}})};
}

ApiReply stop(Services& services, const ApiRequest& /*request*/) {
    std::string path;
    const Confirmation done = operate(services, "the recording is stored", [&](const Wait& wait) {
        const StoppedRecording stopped = stopRecording(wait);
        path = stopped.path;
        return stopped.confirmation;
    });
    return {200, doneAnswer(done, path + " is recorded", {{"path", path}})};
}

}  // namespace

Routes recordingRoutes() {
    constexpr Access who = Access::Operator;
    constexpr Effect what = Effect::Operates;
    return {
        {"POST", "/recordings/current", who, what, "start recording",
         answered<ofRecording<startAt>>},
        {"DELETE", "/recordings/current", who, Effect::Ends, "stop recording",
         answeredWithoutBody<stop>},
        {"POST", "/recordings/preview", who, what, "play recording back",
         answered<ofRecording<playBack>>},
        {"DELETE", "/recordings", who, what, "delete recording", answered<ofRecording<deleteAt>>},
    };
}

}  // namespace papanel
