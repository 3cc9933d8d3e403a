// SPDX-License-Identifier: Apache-2.0
#include "simserver/playback/Triggers.h"

#include <algorithm>

#include "simserver/earliest.h"
#include "simserver/lookUp.h"
#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Records.h"
#include "simserver/schedules/Timetable.h"

namespace simserver {

namespace {

using pa::RecordKind;

/// States of a selector, by the numbers of its records.
constexpr int unknownSelector = 0;
constexpr int inactiveSelector = 1;
constexpr int activeSelector = 2;
constexpr int disabledSelector = 3;

}  // namespace

Triggers::Triggers(ServerContext& context, LiveAnnouncements& live)
    : context_(context), live_(live) {}

// ------------------------------------------------------------------------------ hardware triggers

void Triggers::setTrigger(int triggerId, bool active) {
    turn(byId(context_.station.triggers, triggerId, "trigger"), active);
}

/// The trigger's selector becomes active and inactive with it.
void Triggers::turn(Trigger& trigger, bool active) {
    if (trigger.active == active) {
        return;
    }
    trigger.active = active;
    publish(trigger);
    follow(trigger, "trigger " + std::to_string(trigger.id) + " is inactive again");
    if (trigger.selector == 0) {
        return;
    }
    Station& station = context_.station;
    Selector& selector = byId(station.selectors, trigger.selector, "selector");
    const bool any = std::any_of(station.triggers.begin(), station.triggers.end(),
                                 [&selector](const Trigger& candidate) {
                                     return candidate.active && candidate.selector == selector.id;
                                 });
    if (selector.state != disabledSelector) {
        turn(selector, any ? activeSelector : inactiveSelector);
    }
}

/// An active trigger has its source play in the zones of its selector; a disabled selector chooses
/// none.
void Triggers::follow(const Trigger& trigger, const std::string& whyEnded) {
    const Source& source = byId(context_.station.sources, trigger.source, "source");
    std::vector<std::string> zones;
    if (trigger.active && trigger.selector == 0) {
        zones = source.attachedZones;
    } else if (trigger.active) {
        const Selector& selector = byId(context_.station.selectors, trigger.selector, "selector");
        zones = selector.state == disabledSelector ? zones : selector.zones;
    }
    live_.follow({Opener::Trigger, trigger.id}, source, trigger.priority, zones, whyEnded);
}

void Triggers::followZones(const Source& source, const std::string& whyEnded) {
    for (const Trigger& trigger : context_.station.triggers) {
        if (trigger.source == source.id && trigger.selector == 0) {
            follow(trigger, whyEnded);
        }
    }
    const Opening software{Opener::SoftwareTrigger, source.id};
    if (live_.isOpen(software)) {  // one that has been cancelled does not begin again
        live_.follow(software, source, source.priority, source.attachedZones, whyEnded);
    }
}

std::optional<SimTime> Triggers::nextDue() const {
    return earliest(context_.station.triggers, [this](const Trigger& trigger) {
        const auto change = nextChange(trigger, timetablesDone_);
        return change ? std::optional(change->at) : std::nullopt;
    });
}

void Triggers::takeDue() {
    const SimTime now = context_.clock.now();
    for (Trigger& trigger : context_.station.triggers) {
        const auto change = nextChange(trigger, timetablesDone_);
        if (change && change->at <= now) {
            turn(trigger, change->active);
        }
    }
    timetablesDone_ = now;
}

// --------------------------------------------------------------------------------------- selectors

void Triggers::setSelector(int selectorId, int state) {
    Selector& selector = byId(context_.station.selectors, selectorId, "selector");
    if (state < unknownSelector || state > disabledSelector) {
        throw Refused("there is no selector state " + std::to_string(state));
    }
    turn(selector, state);
}

void Triggers::turn(Selector& selector, int state) {
    if (selector.state == state) {
        return;
    }
    const bool switched = (selector.state == disabledSelector) != (state == disabledSelector);
    selector.state = state;
    publish(selector);
    if (!switched) {
        return;
    }
    for (const Trigger& trigger : context_.station.triggers) {
        if (trigger.selector == selector.id) {
            follow(trigger, "selector " + std::to_string(selector.id) + " is disabled");
        }
    }
}

// ------------------------------------------------------------------------------- software triggers

void Triggers::activate(const std::string& payload) {
    const ActivationRequest request = decodeActivation(payload);
    const Source& source = byId(context_.station.sources, request.sourceId, "source");
    const Opening opening{Opener::SoftwareTrigger, source.id};
    if (live_.isOpen(opening)) {
        throw Refused("source " + std::to_string(source.id) +
                      " has been activated by a software trigger already");
    }
    if (source.attachedZones.empty()) {
        throw Refused("no zone is attached to source " + std::to_string(source.id));
    }
    RequestPart audio = livePart(source, source.attachedZones);
    audio.preChime = context_.content.chimeNamed(request.preChime);
    std::vector<RequestPart> parts{audio};
    if (!request.displayText.empty()) {
        parts.push_back(displayPart(source, request.displayText));
    }
    live_.open(opening, request.priority, parts);
}

void Triggers::deactivate(const std::string& payload) {
    const Source& source = byId(context_.station.sources, decodeId(payload), "source");
    const Opening opening{Opener::SoftwareTrigger, source.id};
    if (!live_.isOpen(opening)) {
        throw Refused("no software trigger of source " + std::to_string(source.id) + " is active");
    }
    live_.close(opening, "the software trigger is inactive again");
}

// --------------------------------------------------------------------------------------- reports

void Triggers::publishAll() const {
    for (const Trigger& trigger : context_.station.triggers) {
        publish(trigger);
    }
    for (const Selector& selector : context_.station.selectors) {
        publish(selector);
    }
}

void Triggers::publish(const Trigger& trigger) const {
    context_.publisher.record(RecordKind::Trigger, trigger.id,
                              triggerRecord(trigger, context_.station.dstNo));
}

void Triggers::publish(const Selector& selector) const {
    context_.publisher.record(RecordKind::Selector, selector.id, selectorRecord(selector));
}

}  // namespace simserver
