#include "client/confirmedOperations.h"
#include "console/ExitCode.h"
#include "console/commands/PlayRequest.h"
#include "console/commands/commands.h"
#include "console/following/operate.h"

namespace console {

using namespace paclient;

namespace {

using paclient::Confirmation;
using paclient::Wait;

/// Asks the server for something that it does not confirm, and says that it has not refused.
/// @param effect as in "/home/quillon/tmp/a.wav is being recorded"
template <class Operation>
void ask(const Context& context, const std::string& effect, const paclient::Json& json,
         Operation operation) {
    context.session();
    operate(context, effect, [&](const Wait& wait) {
        const Confirmation answer = operation(wait);
        return answer.state == Confirmation::State::TimedOut ? Confirmation{} : answer;
    });
    printOutcome(context, "requested: " + effect + " (the server confirms no recordings)", json);
}

/// What is done with one recording.
struct PathOperation {
    const char* effect;
    Confirmation (*send)(const std::string& path, const Wait& wait);
};

constexpr PathOperation start{" is being recorded", paclient::startRecording};
constexpr PathOperation preview{" is played back", paclient::previewRecording};
constexpr PathOperation remove{" is deleted", paclient::deleteRecording};

template <const PathOperation& operation>
struct OfRecording {
    std::string name;

    void define(CLI::App& app) {
        addText(app, "PATH", name, std::string("At the server; a bare name is in ") + serverFolder)
            ->required();
    }

    void run(const Context& context) const {
        const std::string path = serverPath(name);
        ask(context, path + operation.effect, {{"path", path}},
            [&](const Wait& wait) { return operation.send(path, wait); });
    }
};

struct RecordStart : OfRecording<start> {
    void run(const Context& context) const {
        OfRecording<start>::run(context);
        warnOfEnd(context, "the recording");
    }
};

void stop(const Context& context) {
    ask(context, "the recording is stopped", paclient::Json::object(), paclient::stopRecording);
}

}  // namespace

Command recordCommand() {
    return group("record", "Record at the server, and handle recordings",
                 {command<RecordStart>("start", "Start a recording at the server"),
                  command<stop>("stop", "Stop it and store it"),
                  command<OfRecording<preview>>("preview", "Play a recording back"),
                  command<OfRecording<remove>>("delete", "Delete a recording")});
}

}  // namespace console
