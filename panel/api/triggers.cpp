// SPDX-License-Identifier: Apache-2.0
#include "operating/operations.h"
#include "panel/api/Body.h"
#include "panel/api/LockKeeper.h"
#include "panel/api/SentAnnouncements.h"
#include "panel/api/outcome.h"
#include "panel/api/resources.h"
#include "panel/api/routes.h"
#include "panel/events/EventHub.h"
#include "sdk/PAController.h"

namespace papanel {

using namespace paclient;
using paoperating::softwareTriggers;

namespace {

PaSWTrigger triggerOf(const ApiRequest& request) {
    return findOne(softwareTriggers, request.parts.at(0));
}

ApiReply createTrigger(Services& services, const ApiRequest& request) {
    struct Asked {
        int sourceId;
        int priority;
        std::string preChime;
        std::string display;
    };
    const auto asked = readMembers(request.body, [](Body& body) {
        return Asked{body.get<int>("sourceId"),
                     body.getWithin("priority", 0, paoperating::greatestTriggerPriority),
                     body.findOr<std::string>("preChime", ""),
                     body.findOr<std::string>("displayText", "")};
    });
    requireConnected(services);
    const int sourceId = findOne(sources, std::to_string(asked.sourceId)).id;
    const int id =
        paoperating::createTrigger(sourceId, asked.priority, asked.preChime, asked.display);
    services.events.noteTrigger(id);
    return {201, doneAnswer({},
                            "software trigger " + std::to_string(id) + " starts source " +
                                std::to_string(sourceId),
                            {{"id", id}, {"associatedSourceId", sourceId}})};
}

ApiReply deleteTrigger(Services& services, const ApiRequest& request) {
    requireConnected(services);
    const PaSWTrigger trigger = triggerOf(request);
    gPaController.deleteSwPaTrigger(trigger.trigger.id);
    services.events.noteTrigger(trigger.trigger.id);
    return {200, doneAnswer({}, titleOf(softwareTriggers, trigger) + " is deleted",
                            {{"id", trigger.trigger.id}})};
}

ApiReply activateTrigger(Services& services, const ApiRequest& request) {
    const PaSWTrigger trigger = triggerOf(request);
    services.locks.requireFree(trigger.associatedSourceId, request.caller);
    const std::string effect = titleOf(softwareTriggers, trigger) + " is active";
    AnnouncementRequest started;
    const Confirmation done = operate(services, effect, [&](const Wait& wait) {
        const Activation activation = activate(trigger, wait);
        started = activation.announcement.value_or(AnnouncementRequest());
        return activation.confirmation;
    });
    services.announcements.noteStarted(trigger.associatedSourceId, started.id);
    return {200, doneAnswer(done, effect,
                            {{"id", trigger.trigger.id}, {"announcement", toJson(started)}})};
}

ApiReply deactivateTrigger(Services& services, const ApiRequest& request) {
    const PaSWTrigger trigger = triggerOf(request);
    services.locks.requireFree(trigger.associatedSourceId, request.caller);
    const std::string effect = titleOf(softwareTriggers, trigger) + " is inactive";
    const auto started = services.announcements.startedBy(trigger.associatedSourceId);
    const Confirmation done = operate(services, effect, [&](const Wait& wait) {
        return paoperating::deactivateTrigger(trigger, started, wait);
    });
    return {200, doneAnswer(done, effect, {{"id", trigger.trigger.id}})};
}

}  // namespace

Routes triggerRoutes() {
    constexpr Access who = Access::Operator;
    constexpr Effect what = Effect::Operates;
    return {
        {"POST", "/triggers", who, what, "create trigger", answered<createTrigger>},
        {"DELETE", "/triggers/{id}", who, what, "delete trigger",
         answeredWithoutBody<deleteTrigger>},
        {"PUT", "/triggers/{id}/active", who, what, "activate trigger",
         answeredWithoutBody<activateTrigger>},
        {"DELETE", "/triggers/{id}/active", who, Effect::Ends, "deactivate trigger",
         answeredWithoutBody<deactivateTrigger>},
    };
}

}  // namespace papanel
