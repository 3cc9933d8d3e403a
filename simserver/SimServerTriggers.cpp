/// What the simulated server does with its triggers and selectors.

#include <algorithm>

#include "simserver/SimServer.h"
#include "simserver/earliest.h"
#include "simserver/lookUp.h"
#include "simserver/protocol/OperatingDecoder.h"
#include "simserver/protocol/Records.h"
#include "simserver/schedules/Timetable.h"

namespace simserver {

namespace {

using pa::RecordKind;

/// States of a selector, as its record has them.
constexpr int unknownSelector = 0;
constexpr int inactiveSelector = 1;
constexpr int activeSelector = 2;
constexpr int disabledSelector = 3;

}  // namespace

// ------------------------------------------------------------------------------ hardware triggers

void SimServer::setTrigger(int triggerId, bool active) {
    const std::lock_guard guard(lock_);
    catchUp();
    turn(byId(station_.triggers, triggerId, "trigger"), active);
    settle();
}

/// Its selector is active along with it.
void SimServer::turn(Trigger& trigger, bool active) {
    if (trigger.active == active) {
        return;
    }
    trigger.active = active;
    tellRecord(RecordKind::Trigger, trigger.id, triggerRecord(trigger, station_.dstNo));
    followTrigger(trigger, "trigger " + std::to_string(trigger.id) + " is inactive again");
    if (trigger.selector == 0) {
        return;
    }
    Selector& selector = byId(station_.selectors, trigger.selector, "selector");
    const bool any = std::any_of(station_.triggers.begin(), station_.triggers.end(),
                                 [&selector](const Trigger& candidate) {
                                     return candidate.active && candidate.selector == selector.id;
                                 });
    if (selector.state != disabledSelector) {
        turn(selector, any ? activeSelector : inactiveSelector);
    }
}

/// An active trigger has its source heard in the zones of its selector; a disabled one chooses
/// none.
void SimServer::followTrigger(const Trigger& trigger, const std::string& whyEnded) {
    const Source& source = sourceOf(trigger.source);
    std::vector<std::string> zones;
    if (trigger.active && trigger.selector == 0) {
        zones = source.attachedZones;
    } else if (trigger.active) {
        const Selector& selector = byId(station_.selectors, trigger.selector, "selector");
        zones = selector.state == disabledSelector ? zones : selector.zones;
    }
    follow({Opener::Trigger, trigger.id}, source, trigger.priority, zones, whyEnded);
}

std::optional<SimTime> SimServer::nextTimetableChange() const {
    return earliest(station_.triggers, [this](const Trigger& trigger) {
        const auto change = nextChange(trigger, timetablesDone_);
        return change ? std::optional(change->at) : std::nullopt;
    });
}

void SimServer::followTimetables() {
    for (Trigger& trigger : station_.triggers) {
        const auto change = nextChange(trigger, timetablesDone_);
        if (change && change->at <= now_) {
            turn(trigger, change->active);
        }
    }
    timetablesDone_ = now_;
}

// --------------------------------------------------------------------------------------- selectors

void SimServer::setSelector(int selectorId, int state) {
    const std::lock_guard guard(lock_);
    catchUp();
    Selector& selector = byId(station_.selectors, selectorId, "selector");
    if (state < unknownSelector || state > disabledSelector) {
        throw Refused("there is no selector state " + std::to_string(state));
    }
    turn(selector, state);
    settle();
}

void SimServer::turn(Selector& selector, int state) {
    if (selector.state == state) {
        return;
    }
    const bool switched = (selector.state == disabledSelector) != (state == disabledSelector);
    selector.state = state;
    tellRecord(RecordKind::Selector, selector.id, selectorRecord(selector));
    if (!switched) {
        return;
    }
    for (const Trigger& trigger : station_.triggers) {
        if (trigger.selector == selector.id) {
            followTrigger(trigger, "selector " + std::to_string(selector.id) + " is disabled");
        }
    }
}

// ------------------------------------------------------------------------------- software triggers

void SimServer::activateSoftwareTrigger(const std::string& payload) {
    const ActivationRequest request = decodeActivation(payload);
    const Source& source = sourceOf(request.sourceId);
    const Opening opening{Opener::SoftwareTrigger, source.id};
    if (live_.isOpen(opening)) {
        throw Refused("source " + std::to_string(source.id) +
                      " has been activated by a software trigger already");
    }
    if (source.attachedZones.empty()) {
        throw Refused("no zone is attached to source " + std::to_string(source.id));
    }
    RequestPart heard = livePart(source, source.attachedZones);
    heard.preChime = repertoire_.chimeNamed(request.preChime);
    PlayRequest announcement{newRequestId(), false, request.priority, {heard}};
    if (!request.displayText.empty()) {
        announcement.parts.push_back(shownPart(source, request.displayText));
    }
    live_.open(opening, announcement, now_);
}

void SimServer::deactivateSoftwareTrigger(const std::string& payload) {
    const Source& source = sourceOf(decodeId(payload));
    const Opening opening{Opener::SoftwareTrigger, source.id};
    if (!live_.isOpen(opening)) {
        throw Refused("no software trigger of source " + std::to_string(source.id) + " is active");
    }
    live_.close(opening, "the software trigger is inactive again", now_);
}

}  // namespace simserver
