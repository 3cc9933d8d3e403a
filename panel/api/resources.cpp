// SPDX-License-Identifier: Apache-2.0
#include "panel/api/resources.h"

#include <algorithm>

#include "operating/simulation.h"
#include "panel/api/outcome.h"
#include "panel/api/records.h"
#include "panel/api/routes.h"
#include "panel/api/zoneRecords.h"

namespace papanel {

using namespace paclient;

namespace {

template <const auto& kind>
ApiReply list(Services& services, const ApiRequest& request) {
    ApiReply reply;
    reply.body[kind.many] = recordsOf(kind.many, services, &request.caller);
    return reply;
}

template <const auto& kind>
ApiReply getOne(Services& services, const ApiRequest& request) {
    return {200, recordOf(findOne(kind, request.parts.at(0)), services)};
}

ApiReply getZone(Services& /*services*/, const ApiRequest& request) {
    const PaZone zone = findOne(zones, request.parts.at(0));
    return {200, recordOf(zone, ZoneSinks(allSinks()), allAnnouncements())};
}

ApiReply getLock(Services& services, const ApiRequest& request) {
    return {200, recordOf(findOne(locks, request.parts.at(0)), services, &request.caller)};
}

ApiReply sinksOfZone(Services& services, const ApiRequest& request) {
    const std::vector<int> ids = ZoneSinks(allSinks()).of(findOne(zones, request.parts.at(0)).id);
    Json members = Json::array();
    for (const PaSink& sink : allSinks()) {
        if (std::binary_search(ids.begin(), ids.end(), sink.id)) {
            members.push_back(recordOf(sink, services));
        }
    }
    return {200, {{"sinks", members}}};
}

// ------------------------------------------------------------------- what no records are sent for

/// @throws ApiError also when the server does not answer in time
simserver::Contents contentsOf(const Services& services) {
    simserver::SimControl& server = simulatedServer(services);
    try {
        return server.contents();
    } catch (const NotConnected&) {
        throw ApiError(504, "timed-out", "the server has not listed in time what it can play");
    }
}

ApiReply listItems(const Services& services, const char* name, bool onlyChimes) {
    Json items = Json::array();
    for (const auto& item : contentsOf(services).dictionary) {
        if (item.chime || !onlyChimes) {
            items.push_back(paoperating::toJson(item));
        }
    }
    return {200, {{name, items}}};
}

ApiReply listDictionary(Services& services, const ApiRequest& /*request*/) {
    return listItems(services, "dictionary", false);
}

ApiReply listChimes(Services& services, const ApiRequest& /*request*/) {
    return listItems(services, "chimes", true);
}

ApiReply listRecordings(Services& services, const ApiRequest& /*request*/) {
    Json recordings = Json::array();
    for (const auto& recording : contentsOf(services).recordings) {
        recordings.push_back(paoperating::toJson(recording));
    }
    return {200, {{"recordings", recordings}}};
}

Route read(const char* pattern, ApiReply (*handle)(Services&, const ApiRequest&)) {
    return {"GET", pattern, Access::Monitor, Effect::Reads, nullptr, handle};
}

}  // namespace

simserver::SimControl& simulatedServer(const Services& services) {
    requireConnected(services);
    simserver::SimControl* const control = services.connection.endpoint().simControl();
    if (control == nullptr) {
        throw ApiError(501, "not-supported", "only a simulated server can do this");
    }
    return *control;
}

Routes recordRoutes() {
    return {
        read("/zones", answered<list<zones>>),
        read("/zones/{id}", answered<getZone>),
        read("/zones/{id}/sinks", answered<sinksOfZone>),
        read("/sources", answered<list<sources>>),
        read("/sources/{id}", answered<getOne<sources>>),
        read("/sinks", answered<list<sinks>>),
        read("/sinks/{id}", answered<getOne<sinks>>),
        read("/voices", answered<list<voices>>),
        read("/voices/{id}", answered<getOne<voices>>),
        read("/announcements", answered<list<announcements>>),
        read("/triggers", answered<list<triggers>>),
        read("/triggers/{id}", answered<getOne<triggers>>),
        read("/selectors", answered<list<selectors>>),
        read("/selectors/{id}", answered<getOne<selectors>>),
        read("/schedules", answered<list<schedules>>),
        read("/schedules/{id}", answered<getOne<schedules>>),
        read("/tts-items", answered<list<ttsItems>>),
        read("/tts-items/{id}", answered<getOne<ttsItems>>),
        read("/locks", answered<list<locks>>),
        read("/locks/{id}", answered<getLock>),
        read("/dictionary", answered<listDictionary>),
        read("/chimes", answered<listChimes>),
        read("/recordings", answered<listRecordings>),
    };
}

}  // namespace papanel
