// SPDX-License-Identifier: Apache-2.0
#include "console/commands/commands.h"
#include "console/following/operate.h"
#include "operating/operations.h"
#include "operating/sentTexts.h"

namespace console {

using namespace paclient;
using paoperating::serverFolder;

namespace {

/// What is done with one recording.
struct PathOperation {
    const char* effect;
    const char* unconfirmed;  ///< what the server does not confirm; empty for what it does
    Confirmation (*send)(const std::string& path, const Wait& wait);
    const char* ending;  ///< what ends with the server; empty for nothing
};

constexpr PathOperation start{" is being recorded", "", startRecording, "the recording"};
constexpr PathOperation preview{" is played back", "previews", previewRecording, ""};
constexpr PathOperation remove{" is deleted", "deletions", deleteRecording, ""};

template <const PathOperation& operation>
struct OfRecording {
    std::string name;

    void define(CLI::App& app) {
        addText(app, "PATH", name, std::string("At the server; a bare name is in ") + serverFolder)
            ->required();
    }

    void run(const Context& context) const {
        const bool isConfirmed = *operation.unconfirmed == 0;
        const std::string path =
            isConfirmed ? paoperating::playablePath(name) : paoperating::serverPath(name);
        const std::string effect = path + operation.effect;
        context.connected();
        operate(context, effect, [&](const Wait& wait) {
            const Confirmation answer = operation.send(path, wait);
            return isConfirmed ? answer : paoperating::unlessRefused(answer);
        });
        const std::string sentence = isConfirmed
                                         ? effect
                                         : "requested: " + effect + " (the server confirms no " +
                                               operation.unconfirmed + ')';
        printOutcome(context, sentence, {{"path", path}});
        if (*operation.ending != 0) {
            warnOfEnd(context, operation.ending);
        }
    }
};

void stop(const Context& context) {
    context.connected();
    const std::string path = resultOf(context, "the recording is stored", stopRecording).path;
    printOutcome(context, path + " is recorded", {{"path", path}});
}

}  // namespace

Command recordCommand() {
    return group("record", "Record at the server, and handle recordings",
                 {command<OfRecording<start>>("start", "Start a recording at the server"),
                  command<stop>("stop", "Stop it and store it"),
                  command<OfRecording<preview>>("preview", "Play a recording back"),
                  command<OfRecording<remove>>("delete", "Delete a recording")});
}

}  // namespace console
