// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// What starts an announcement from a source: a digital input, a key, voice, a call. A plain value.
struct PaTrigger {
    /// What starts it.
    enum Type : int {
        TRIGGER_TYPE_UNDEFINED = 0,
        DIN_NORMALLY_OPEN = 1,
        DIN_NORMALLY_CLOSED = 2,
        KEYPAD_KEY = 3,
        VOX = 4,
        STREAM_PRESENCE = 5,
        TOUCHPAD_ZONE = 6,
        INCOMING_TELEPHONY_CALL = 7,
        MICROPHONE_CURRENT_SENSE = 8,
        USER_CONDITIONAL = 9,
    };
    /// Whether it is on.
    enum State : int { UNKNOWN = 0, INACTIVE = 1, ACTIVE = 2 };
    /// How the priority is meant.
    enum PRIORITY_MODE : int { ABSOLUTE_PRIORITY = 0, RELATIVE_PRIORITY = 1 };

    int id = 0;                     ///< number at the server; of a software trigger at this client
    int associatedSourceId = 0;     ///< source that the trigger starts
    int associatedSelectorId = 0;   ///< selector that gives the target zones
    std::string label;              ///< display name
    Type type = DIN_NORMALLY_OPEN;  ///< what starts it
    std::string subAddress;         ///< of the trigger on its device
    int priority = 500;             ///< of the announcement it starts
    PRIORITY_MODE priorityMode = ABSOLUTE_PRIORITY;  ///< how `priority` is applied
    State state = UNKNOWN;                           ///< whether it is on
    bool resumeAfterInterruption = false;            ///< not reported: always false

    friend bool operator==(const PaTrigger& a, const PaTrigger& b) {
        return a.id == b.id && a.associatedSourceId == b.associatedSourceId &&
               a.associatedSelectorId == b.associatedSelectorId && a.label == b.label &&
               a.type == b.type && a.subAddress == b.subAddress && a.priority == b.priority &&
               a.priorityMode == b.priorityMode && a.state == b.state &&
               a.resumeAfterInterruption == b.resumeAfterInterruption;
    }
    friend bool operator!=(const PaTrigger& a, const PaTrigger& b) { return !(a == b); }
};

/// A trigger that this client has created. A plain value.
struct PaSWTrigger {
    PaTrigger trigger;              ///< its own `associatedSourceId` stays 0
    int associatedSourceId = 0;     ///< source that the trigger starts
    std::string preChime;           ///< number or name of the chime before
    std::string displayParameters;  ///< text that is displayed with it

    friend bool operator==(const PaSWTrigger& a, const PaSWTrigger& b) {
        return a.trigger == b.trigger && a.associatedSourceId == b.associatedSourceId &&
               a.preChime == b.preChime && a.displayParameters == b.displayParameters;
    }
    friend bool operator!=(const PaSWTrigger& a, const PaSWTrigger& b) { return !(a == b); }
};
