// SPDX-License-Identifier: Apache-2.0
// User recordings: made, played back and deleted by the server.
#include "sdk/PAController.h"
#include "sdk/requests/queueOperation.h"

using namespace pa;

namespace {

void send(OperationType type, const std::string& text) {
    queueOperation(destination::indirectLink, type, text);
}

}  // namespace

// Operation 78/5: path, the only one that is sent unchanged
void PAController::startUserRecording(const std::string& absolutePathWithFileName) {
    send(operations::startRecording, absolutePathWithFileName);
}

// Operation 78/6: nothing
void PAController::stopUserRecording() {
    send(operations::stopRecording, "");
}

// Operation 1/1: path
void PAController::previewUserRecording(const std::string& absolutePathWithFileName) {
    send(operations::previewRecording, Payload::of(absolutePathWithFileName).text());
}

// Operation 78/9: path
void PAController::deleteUserRecording(const std::string& absolutePathWithFileName) {
    send(operations::deleteRecording, Payload::of(absolutePathWithFileName).text());
}
