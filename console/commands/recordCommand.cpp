#include <memory>

#include "console/ExitCode.h"
#include "console/arguments/Parser.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "console/text/cleanText.h"
#include "sdk/PAController.h"

namespace console {

namespace {

constexpr const char* serverFolder = "/home/quillon/tmp/";

/// The path at the server: a bare name stands in the server's folder.
std::string serverPath(const std::string& path) {
    if (path.empty() || hasControlCharacter(path) || !isUtf8(path)) {
        throw Failure(ExitCode::Usage, "'" + path + "' cannot be the name of a recording");
    }
    return path.find('/') == std::string::npos ? serverFolder + path : path;
}

void operateRecorder(const Context& context, const Request& request, const std::string& path,
                     const std::function<void()>& send) {
    context.session();
    operateUnseen(context, request, send);
    printOutcome(context, request.effect, path.empty() ? Json::object() : Json{{"path", path}});
}

/// What is done with one recording.
struct PathOperation {
    const char* effect;
    pa::OperationType type;
    void (PAController::*send)(const std::string& path);
};

constexpr PathOperation start{"is being recorded", pa::operations::startRecording,
                              &PAController::startUserRecording};
constexpr PathOperation preview{"is played back", pa::operations::previewRecording,
                                &PAController::previewUserRecording};
constexpr PathOperation forget{"is deleted", pa::operations::deleteRecording,
                               &PAController::deleteUserRecording};

template <const PathOperation& operation>
Handler define(Parser& parser) {
    const auto name = std::make_shared<std::string>();
    parser.addText("PATH", *name, std::string("At the server; a bare name is in ") + serverFolder)
        .required();
    return [name](const Context& context) {
        const std::string path = serverPath(*name);
        const Request request{path + ' ' + operation.effect, {operation.type}};
        operateRecorder(context, request, path, [&] { (gPaController.*operation.send)(path); });
    };
}

Handler defineStop(Parser& /*parser*/) {
    return [](const Context& context) {
        operateRecorder(context, {"the recording is stopped", {pa::operations::stopRecording}}, "",
                        [] { gPaController.stopUserRecording(); });
    };
}

}  // namespace

Handler defineRecord(Parser& parser) {
    return defineSubcommands(parser, {{"start", "Start a recording at the server", define<start>},
                                      {"stop", "Stop it and store it", defineStop},
                                      {"preview", "Play a recording back", define<preview>},
                                      {"delete", "Delete a recording", define<forget>}});
}

}  // namespace console
