// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "sdk/QXReceiver.h"
#include "sdk/globals.h"
#include "sdk/operations.h"
#include "sdk/requests/Payload.h"

namespace pa {

/// Destinations of operations, which the link interprets.
namespace destination {

constexpr int directLink = -1;
constexpr int indirectLink = -2;

/// The link over which the active audio server is reached now.
inline int activeServer() {
    return load(gIndirectCXSConnection) ? indirectLink : directLink;
}

}  // namespace destination

/// Queues an operation for the server.
inline void queueOperation(int destinationNo, OperationType type, const std::string& text) {
    constexpr int flag = 1;  // of every operation
    gQXReceiver.addOperationToSendQueue(destinationNo, type.classNo, type.number, flag, text);
}
inline void queueOperation(int destinationNo, OperationType type, const Payload& payload) {
    queueOperation(destinationNo, type, payload.text());
}

}  // namespace pa
