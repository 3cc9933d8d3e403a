// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <set>

#include "client/confirmedOperations.h"
#include "client/confirmedParts.h"
#include "sdk/PAController.h"
#include "sdk/operations.h"

namespace paclient {

Activation activate(const PaSWTrigger& trigger, const Wait& wait) {
    std::set<int> before;
    for (const AnnouncementRequest& record : gPaController.getAnnouncementRequests()) {
        before.insert(record.id);
    }
    std::vector<std::string> attached;
    gPaController.getAttachedPaZoneList(trigger.associatedSourceId, &attached);
    Activation result;
    ConfirmedRequest request;
    request.operations = {pa::operations::activateTrigger};
    request.send = [&] { gPaController.activateSwPaTrigger(trigger.trigger.id); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<AnnouncementRequest>>(&change);
        if (update == nullptr) {
            return;
        }
        const AnnouncementRequest& record = update->record;
        const bool isItsOwn =
            before.count(record.id) == 0 && record.getAudioMessageType() == Message::LIVE_STREAM &&
            std::all_of(record.zones.begin(), record.zones.end(), [&](const std::string& zone) {
                return std::binary_search(attached.begin(), attached.end(), zone);
            });
        if (isItsOwn && !result.announcement) {
            result.announcement = record;
        }
    };
    request.holds = [&] { return result.announcement.has_value(); };
    result.confirmation = confirm(request, wait);
    return result;
}

Confirmation deactivate(const PaSWTrigger& trigger, std::optional<int> announcement,
                        const Wait& wait) {
    ConfirmedRequest request;
    request.operations = {pa::operations::deactivateTrigger};
    request.send = [&] { gPaController.deactivateSwPaTrigger(trigger.trigger.id); };
    request.holds = [&] {
        return !announcement || !gPaController.findAnnouncementRequest(*announcement);
    };
    return request.holds() ? awaitRefusal(request, shortened(wait)) : confirm(request, wait);
}

}  // namespace paclient
