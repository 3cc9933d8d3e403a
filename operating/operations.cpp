// SPDX-License-Identifier: Apache-2.0
#include "operating/operations.h"

#include <algorithm>

#include "operating/NotPossible.h"
#include "operating/sentTexts.h"
#include "sdk/PAController.h"

namespace paoperating {

using namespace paclient;

namespace {

std::string titleOf(const PaSource& source) {
    return "source " + std::to_string(source.id);
}

}  // namespace

void checkTrigger(const std::string& preChime, const std::string& display) {
    // The chime is sent as it is between commas; the text is all that follows.
    require(preChime.find(',') == std::string::npos,
            "the pre-chime '" + preChime + "' has a comma");
    requireUtf8("the text", preChime);
    requireUtf8("the text", display);
}

int createTrigger(int sourceId, int priority, const std::string& preChime,
                  const std::string& display) {
    checkTrigger(preChime, display);
    const int id = gPaController.createSwPaTrigger(sourceId, priority, preChime, display);
    if (id == 0) {
        throw NotPossible("source " + std::to_string(sourceId) + " can have no software trigger");
    }
    return id;
}

Confirmation deactivateTrigger(const PaSWTrigger& trigger, std::optional<int> announcement,
                               const Wait& wait) {
    const Confirmation result = deactivate(trigger, announcement, wait);
    return announcement ? result : unlessRefused(result);
}

Confirmation unlessRefused(Confirmation confirmation) {
    const bool isNotRefused = confirmation.state == Confirmation::State::TimedOut;
    return isNotRefused ? Confirmation{} : std::move(confirmation);
}

std::vector<std::string> chooseAttached(const PaSource& source,
                                        const std::vector<std::string>& names) {
    const std::vector<std::string> attached = source.getAttachedPaZones();
    std::vector<std::string> ids;
    for (const std::string& name : names) {
        ids.push_back(knowsName(name, attached) ? attached[findName("zone", name, attached)]
                                                : findOne(zones, name).id);
        if (std::find(attached.begin(), attached.end(), ids.back()) == attached.end()) {
            throw NotPossible("zone '" + ids.back() + "' is not attached to " + titleOf(source));
        }
    }
    return ids;
}

std::string chooseRequest(const std::string& wanted) {
    const auto records = allAnnouncements();
    const auto numbers = memberTexts<&AnnouncementRequest::id>(records);
    auto ids = memberTexts<&AnnouncementRequest::getRequestID>(records);
    if (knowsName(wanted, numbers)) {
        return ids[findName("announcement", wanted, numbers)];
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());  // one for each part
    return ids[findName("announcement", wanted, ids)];
}

Cancellation cancelType(Message::Type type, const Wait& wait) {
    const auto active = allAnnouncements();
    const bool isAny = std::any_of(active.begin(), active.end(), [type](const auto& record) {
        return record.getAudioMessageType() == type || record.getVisualMessageType() == type;
    });
    if (!isAny) {
        throw NotFound("no announcement of type " + nameOf(type) + " is active", {});
    }
    return cancelAnnouncements(type, wait);
}

}  // namespace paoperating
