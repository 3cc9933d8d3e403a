// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "../../framework/api.h"
#include "PaSink.h"

/// A named area of the PA system (a platform, a car, a hall). A plain value; the controller hands
/// out copies.
struct PA_API PaZone {
    unsigned int elemNo = 0;  ///< element number of the record; 0 in the zones of the cache
    /// The zone's name, as the sinks' zone lists use it. A sub-zone's id is its parent's id, a
    /// slash and its own part.
    std::string id;
    int activity = 0;                  ///< activity code
    std::string activityText;          ///< the same for people
    int announcementType = 0;          ///< code of the announcement type now playing
    std::string announcementTypeText;  ///< the same for people
    int health = 0;                    ///< health code
    std::string healthText;            ///< the same for people

    /// The sinks whose zone list names this zone or one of its sub-zones, ignoring letter case, in
    /// the order of `PAController::getPaSinks()`. A sink that names several of them is in the
    /// result as many times. Empty without an audio server. Takes the controller's mutex.
    [[nodiscard]] std::vector<PaSink> getMembers() const;

    friend bool operator==(const PaZone& a, const PaZone& b) {
        return a.elemNo == b.elemNo && a.id == b.id && a.activity == b.activity &&
               a.activityText == b.activityText && a.announcementType == b.announcementType &&
               a.announcementTypeText == b.announcementTypeText && a.health == b.health &&
               a.healthText == b.healthText;
    }
    friend bool operator!=(const PaZone& a, const PaZone& b) { return !(a == b); }
};
