#pragma once

#include <string>

#include "client/Change.h"

/// @file
/// What goes wrong with a request, as the stream reports it.

namespace paclient {

inline Change refusal(pa::OperationType operation, const std::string& id) {
    return palink::Refusal{operation, id, "not now"};
}

inline Change drop(pa::OperationType operation, const std::string& id) {
    pa::DroppedOperation dropped;
    dropped.type = operation;
    dropped.requestId = id;
    dropped.text = "the link was stopped";
    return dropped;
}

inline Change linkChange(palink::ConnectionChange::State state) {
    return palink::ConnectionChange{state, 1, "cable"};
}

}  // namespace paclient
