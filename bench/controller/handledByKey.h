// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "include/common/RecordList.h"
#include "sdk/PAController.h"
#include "sdk/recordKinds.h"

namespace bench {

/// What follows from a record, for the observers and in the event queue.
enum class Follows { Never, OnChange, Always };

/// What the kinds have in common. Zones have a handler of their own.
template <pa::RecordKind number, void (PAController::*handler)(int, TEVlist*)>
struct HandledByKey {
    static constexpr pa::RecordKind kind = number;
    static void handle(PAController& controller, int key, TEVlist* list) {
        (controller.*handler)(key, list);
    }
    static void withdraw(PAController& controller, int key) {
        controller.deleteAudioVideoControllerInfo(0, static_cast<int>(number), key);
    }
};

}  // namespace bench
