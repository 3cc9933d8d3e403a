// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

/// What chooses the sinks or zones that a source reaches: a key, a digital input, a touch-pad
/// region, a dialled number. A plain value.
struct PaSelector {
    /// What the operator touches or dials.
    enum Type : int {
        SELECTOR_TYPE_UNDEFINED = 0,
        DIN_NORMALLY_OPEN = 1,
        DIN_NORMALLY_CLOSED = 2,
        KEYPAD_KEY = 3,
        TOUCHPAD_REGION = 4,
        TELEPHONY_INPUT = 5,
        TELEPHONY_DID = 6,
        USER_DEFINED = 7,
    };
    /// Who may change its configuration.
    enum Protection : int {
        FIXED_CONFIGURATION = 0,
        VOLATILE_SOFTWARE_CONFIGURABLE = 1,
        NONVOLATILE_SOFTWARE_CONFIGURABLE = 2,
    };
    /// Whether its zones are added to those of the source or replace them.
    enum Mode : int { ADD_TO_EXISTING_SET = 0, REPLACE_EXISTING_SET = 1 };
    /// Which changes of its set are allowed at run time.
    enum DynamicRestriction : int {
        UPDATES_NOT_ALLOWED = 0,
        ADD_SINKS_TO_SET_ALLOWED = 1,
        ADD_REMOVE_SINKS_TO_SET_ALLOWED = 2,
    };
    /// Whether it is chosen now.
    enum State : int {
        ENABLED_AND_UNKNOWN = 0,
        ENABLED_AND_INACTIVE = 1,
        ENABLED_AND_ACTIVE = 2,
        DISABLED = 3,
    };

    int id = 0;                                   ///< number at the server
    int associatedSourceId = 0;                   ///< source the selector belongs to
    std::string label;                            ///< display name
    Type type = SELECTOR_TYPE_UNDEFINED;          ///< what the operator touches or dials
    std::string number;                           ///< key, region or dialled number
    Protection protection = FIXED_CONFIGURATION;  ///< who may change its configuration
    Mode mode = ADD_TO_EXISTING_SET;              ///< whether its zones are added or replace
    /// Which changes of its set are allowed at run time.
    DynamicRestriction dynamicRestriction = UPDATES_NOT_ALLOWED;
    State state = DISABLED;                 ///< whether it is chosen now
    std::map<int, std::string> paZoneList;  ///< zones of the selector, by number

    friend bool operator==(const PaSelector& a, const PaSelector& b) {
        return a.id == b.id && a.associatedSourceId == b.associatedSourceId && a.label == b.label &&
               a.type == b.type && a.number == b.number && a.protection == b.protection &&
               a.mode == b.mode && a.dynamicRestriction == b.dynamicRestriction &&
               a.state == b.state && a.paZoneList == b.paZoneList;
    }
    friend bool operator!=(const PaSelector& a, const PaSelector& b) { return !(a == b); }
};
