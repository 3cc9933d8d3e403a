// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sdk/PAController.h"

/// @file
/// What the controller does with the records of a kind, as functions for a table.

using HandleRecord = void (*)(PAController&, int key, TEVlist*);
using RemoveRecord = void (*)(PAController&, int key);

template <void (PAController::*handler)(int, TEVlist*)>
void byKey(PAController& controller, int key, TEVlist* list) {
    (controller.*handler)(key, list);
}
inline void ofServer(PAController& controller, int key, TEVlist* list) {
    controller.addUpdatePaZone(1, key, list);
}
template <int kind>
void withdrawKind(PAController& controller, int key) {
    controller.deleteAudioVideoControllerInfo(0, kind, key);
}
template <void (PAController::*remove)(int)>
void removeByKey(PAController& controller, int key) {
    (controller.*remove)(key);
}
