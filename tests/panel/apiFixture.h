// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "client/Connection.h"
#include "panel/Services.h"
#include "panel/access/Sessions.h"
#include "panel/api/AudioStore.h"
#include "panel/api/FaultTimes.h"
#include "panel/api/IdempotencyStore.h"
#include "panel/api/LockKeeper.h"
#include "panel/api/ScheduleNumbers.h"
#include "panel/api/SentAnnouncements.h"
#include "panel/api/routes.h"
#include "panel/audit/AuditTrail.h"
#include "panel/events/EventHub.h"
#include "panel/http/ApiError.h"
#include "panel/http/RouteTable.h"
#include "panel/http/Target.h"
#include "sdk/PAController.h"
#include "simserver/EmbeddedEndpoint.h"
#include "tests/support/noPauses.h"

/// With something of every kind that can be operated.
inline simserver::Station operatedStation() {
    using std::chrono::seconds;
    simserver::Station station;
    station.name = "Test";
    station.timeZone = "Europe/Berlin";
    station.zones = {{"Hall", 1},   {"Hall/North", 1}, {"Yard", 1},
                     {"Cellar", 1}, {"Platform 1", 1}, {"Platform 2", 1}};
    for (const int id : {1, 2, 9}) {  // with the type of the same number
        station.sinks.emplace_back().id = id;
        station.sinks.back().type = id;
        station.sinks.back().label = "S";
    }
    station.sinks[0].zones = {"Hall/North", "Platform 1", "Platform 2"};
    station.sinks[1].zones = {"Hall", "Yard"};
    station.sinks[1].health = simserver::inactiveHealth;
    for (const int id : {1, 2, 7}) {
        station.sources.emplace_back().id = id;
        station.sources.back().type = 2;
        station.sources.back().label = "Desk " + std::to_string(id);
    }
    station.sources[1].attachedZones = {"Yard"};
    station.triggers.emplace_back().id = 4;
    station.triggers.back().source = 1;
    station.selectors.emplace_back().id = 5;
    station.selectors.back().source = 1;
    station.voices.push_back({4, "en", "Amelia", 48000, "", ""});
    station.dictionary.push_back({1, "Gong", seconds(1), true});
    station.dictionary.push_back({12, "Mind the gap", std::chrono::hours(100), false});
    station.recordings.push_back({"/home/quillon/announcements/exit.wav", seconds(9)});
    return station;
}

/// The API of a gateway with an embedded server. The host's clock runs five times as fast, and can
/// be put forward.
struct ApiTest : testing::Test {
    explicit ApiTest(simserver::Station station = operatedStation())
        : endpoint(std::move(station), {1.0, false, {}, {}, {}}) {
        pa::TimeSource time = withoutPauses();
        time.monotonicMS = [] {
            const auto now = std::chrono::steady_clock::now().time_since_epoch();
            return 5 * std::chrono::duration_cast<std::chrono::milliseconds>(now).count() + ahead;
        };
        pa::setTimeSource(time);
        connection.open();
    }
    ~ApiTest() override {
        for (const PaSWTrigger& made : gPaController.getSwPaTriggers()) {
            gPaController.deleteSwPaTrigger(made.trigger.id);  // they outlast the connection
        }
        connection.link().stop();
        pa::setTimeSource({});
    }

    /// Puts the clock forward.
    static void pass(std::chrono::milliseconds time) { ahead += time.count(); }

    /// What a request is answered with.
    /// @throws papanel::ApiError
    papanel::ApiReply call(const std::string& method, const std::string& where,
                           const papanel::Json& body = {}, const std::string& session = "s1") {
        const papanel::Target target = papanel::parseTarget(where);
        const auto match = table.find(method, target.parts);
        papanel::ApiRequest request;
        request.method = method;
        request.path = target.path;
        request.parts = match.parts;
        request.query = target.query;
        request.body = body;
        request.bytes = bytes;
        request.auditRow = auditRow;
        request.caller = {session == "s2" ? "bob" : "ann", papanel::Role::Operator, session,
                          "page of " + session, "192.0.2.1"};
        return match.route->handle(services, request);
    }

    /// The same as text: "200 done the text", or "409 held the text".
    std::string answer(const std::string& method, const std::string& where,
                       const papanel::Json& body = {}, const std::string& session = "s1") {
        try {
            const papanel::ApiReply reply = call(method, where, body, session);
            const papanel::Json& json = reply.body;
            const std::string status = std::to_string(reply.status) + ' ';
            return json.contains("outcome") ? status + json["outcome"].get<std::string>() + ' ' +
                                                  json["text"].get<std::string>()
                                            : status + json.dump();
        } catch (const papanel::ApiError& error) {
            return std::to_string(error.status) + ' ' + error.code + ' ' + error.what();
        }
    }

    static inline std::atomic<std::int64_t> ahead{0};

    simserver::EmbeddedEndpoint endpoint;
    paclient::Connection connection{endpoint};
    papanel::FaultTimes faults;
    papanel::Stop stop;
    papanel::AuditTrail audit{"", 1};
    papanel::Sessions sessions{nullptr};
    papanel::IdempotencyStore answers;
    papanel::AudioStore audio{{2'000, 1'000, 3, std::chrono::hours(1)}};
    papanel::LockKeeper locks{audit};
    papanel::SentAnnouncements announcements;
    papanel::ScheduleNumbers scheduleNumbers;
    papanel::EventHub events;
    papanel::Services services{connection, events, sessions,      nullptr, audit,           answers,
                               locks,      audio,  announcements, faults,  scheduleNumbers, stop};
    const papanel::RouteTable table{papanel::resourceRoutes()};
    std::string bytes;          // body of the next calls
    std::int64_t auditRow = 0;  // likewise
};
