// User recordings: made, played back and deleted by the server.
#include "sdk/PAController.h"
#include "sdk/requests/queueOperation.h"

using namespace pa;

namespace {

void send(int operationClass, int operationNumber, const Payload& payload) {
    queueOperation(destination::indirectLink, operationClass, operationNumber, payload);
}

}  // namespace

// Operation 78/5: path, the only one that goes out as it stands
void PAController::startUserRecording(const std::string& absolutePathWithFileName) {
    send(78, 5, Payload().plain(absolutePathWithFileName));
}

// Operation 78/6: nothing
void PAController::stopUserRecording() {
    send(78, 6, Payload());
}

// Operation 1/1: path
void PAController::previewUserRecording(const std::string& absolutePathWithFileName) {
    send(1, 1, Payload().prepared(absolutePathWithFileName));
}

// Operation 78/9: path
void PAController::deleteUserRecording(const std::string& absolutePathWithFileName) {
    send(78, 9, Payload().prepared(absolutePathWithFileName));
}
