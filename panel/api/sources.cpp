// SPDX-License-Identifier: Apache-2.0
#include "client/confirmedOperations.h"
#include "operating/operations.h"
#include "panel/api/Body.h"
#include "panel/api/LockKeeper.h"
#include "panel/api/outcome.h"
#include "panel/api/records.h"
#include "panel/api/resources.h"
#include "panel/api/routes.h"
#include "panel/events/EventHub.h"

namespace papanel {

using namespace paclient;
using paoperating::sourceGain;

namespace {

using Ids = std::vector<std::string>;

PaSource sourceOf(const ApiRequest& request) {
    return findOne(sources, request.parts.at(0));
}

// ------------------------------------------------------------------------------------------ locks

ApiReply changeLock(Services& services, const ApiRequest& request, const char* effect,
                    Confirmation (LockKeeper::*change)(int, const Caller&, const Wait&)) {
    const PaSource source = sourceOf(request);
    const std::string sentence = titleOf(sources, source) + effect;
    const Confirmation done = operate(services, sentence, [&](const Wait& wait) {
        return (services.locks.*change)(source.id, request.caller, wait);
    });
    services.events.noteLock(source.id);  // the server reports no other session
    const Json lock = recordOf(lockOf(source.id), services, &request.caller);
    return {200, doneAnswer(done, sentence, {{"lock", lock}})};
}

ApiReply takeSource(Services& services, const ApiRequest& request) {
    return changeLock(services, request, " is taken", &LockKeeper::take);
}

ApiReply releaseSource(Services& services, const ApiRequest& request) {
    return changeLock(services, request, " is released", &LockKeeper::release);
}

// ------------------------------------------------------------------------------------------- gain

ApiReply setSourceGain(Services& services, const ApiRequest& request) {
    struct Asked {
        double level;
        bool first;
        bool second;
    };
    const auto asked = readMembers(request.body, [](Body& body) {
        return Asked{body.getWithin("level", sourceGain.least, sourceGain.greatest),
                     body.findOr("first", false), body.findOr("second", false)};
    });
    const PaSource source = sourceOf(request);
    services.locks.requireFree(source.id, request.caller);
    const std::string effect =
        titleOf(sources, source) + " has the gain " + valueText(asked.level + 0.0) + " dB";
    const Confirmation done = operate(services, effect, [&](const Wait& wait) {
        return setGain(source, asked.level, asked.first, asked.second, wait);
    });
    return {200, doneAnswer(done, effect, recordNow(services, sources, source))};
}

// ------------------------------------------------------------------------------------------ zones

ApiReply zonesAnswer(const PaSource& source, const Confirmation& done) {
    const Ids now = source.getAttachedPaZones();
    const std::string effect = titleOf(sources, source) + " has " +
                               (now.empty() ? "no zones" : "the zones " + valueText(now));
    return {200, doneAnswer(done, effect, {{"sourceId", source.id}, {"zones", now}})};
}

ApiReply zonesOfSource(Services& /*services*/, const ApiRequest& request) {
    return {200, {{"zones", sourceOf(request).getAttachedPaZones()}}};
}

/// Attaches zones, in place of those before or beside them, or detaches them.
Confirmation changeZones(const PaSource& source, const std::string& mode, const Ids& names,
                         const Wait& wait) {
    if (mode == "remove") {
        return detachZones(source, paoperating::chooseAttached(source, names), wait);
    }
    Ids ids;
    for (const std::string& name : names) {
        ids.push_back(findOne(zones, name).id);
    }
    return attachZones(
        source, ids,
        mode == "replace" ? PaSource::REPLACE_EXISTING_SET : PaSource::ADD_TO_EXISTING_SET, wait);
}

ApiReply setZonesOfSource(Services& services, const ApiRequest& request) {
    struct Asked {
        Ids names;
        std::string mode;
    };
    const auto asked = readMembers(request.body, [](Body& body) {
        return Asked{body.get<Ids>("zones"), body.get<std::string>("mode")};
    });
    if (asked.names.empty()) {
        failReading("the member 'zones' is empty");
    }
    if (asked.mode != "add" && asked.mode != "replace" && asked.mode != "remove") {
        failReading("the member 'mode' is none of add, replace, remove");
    }
    const PaSource source = sourceOf(request);
    services.locks.requireFree(source.id, request.caller);
    const Confirmation done = operate(
        services, titleOf(sources, source) + " has these zones",
        [&](const Wait& wait) { return changeZones(source, asked.mode, asked.names, wait); });
    return zonesAnswer(source, done);
}

ApiReply detachZonesOfSource(Services& services, const ApiRequest& request) {
    const PaSource source = sourceOf(request);
    services.locks.requireFree(source.id, request.caller);
    const Confirmation done =
        operate(services, titleOf(sources, source) + " has no zones",
                [&](const Wait& wait) { return detachAllZones(source, wait); });
    return zonesAnswer(source, done);
}

}  // namespace

Routes sourceRoutes() {
    constexpr Access who = Access::Operator;
    constexpr Effect what = Effect::Operates;
    return {
        {"PUT", "/sources/{id}/lock", who, what, "take source", answeredWithoutBody<takeSource>},
        {"DELETE", "/sources/{id}/lock", who, Effect::Ends, "release source",
         answeredWithoutBody<releaseSource>},
        {"PUT", "/sources/{id}/gain", who, what, "set source gain", answered<setSourceGain>},
        {"GET", "/sources/{id}/zones", Access::Monitor, Effect::Reads, nullptr,
         answered<zonesOfSource>},
        {"PUT", "/sources/{id}/zones", who, what, "change zones of source",
         answered<setZonesOfSource>},
        {"DELETE", "/sources/{id}/zones", who, Effect::Ends, "detach zones of source",
         answeredWithoutBody<detachZonesOfSource>},
    };
}

}  // namespace papanel
