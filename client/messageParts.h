// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sdk/Message.h"

namespace paclient {

inline bool hasAudioPart(const Message& message) {
    return message.getAudioMessageType() != Message::NONE;
}

inline bool hasVisualPart(const Message& message) {
    return message.getVisualMessageType() != Message::NONE;
}

}  // namespace paclient
