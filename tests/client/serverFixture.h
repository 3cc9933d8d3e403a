// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "client/Connection.h"
#include "framework/clock.h"
#include "link/embedded/EmbeddedTransport.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "simserver/SimServer.h"
#include "tests/support/noPauses.h"

/// A server of the test.
struct TestEndpoint final : paclient::Endpoint {
    explicit TestEndpoint(palink::EmbeddedServer& server) : embedded(server) {}
    palink::Transport& transport() override { return embedded; }
    std::string name() const override { return "test server"; }

    palink::EmbeddedTransport embedded;
};

/// With something of every kind.
inline simserver::Station testStation() {
    simserver::Station station;
    station.name = "Test";
    station.zones = {{"Hall", 1},   {"Hall/North", 1}, {"Hallway", 1},
                     {"Cellar", 2}, {"Yard", 1},       {"Concourse", 1}};
    for (const int id : {1, 2, 9}) {  // with the type of the same number
        station.sinks.emplace_back().id = id;
        station.sinks.back().type = id;
    }
    station.sinks[0].zones = {"Hall/North", "Cellar"};
    station.sinks[1].zones = {"Yard"};
    station.sinks[1].label = "Horn";
    station.sinks[1].health = simserver::inactiveHealth;
    for (const int id : {1, 2}) {
        station.sources.emplace_back().id = id;
        station.sources.back().type = id;
    }
    station.sources[1].attachedZones = {"Yard"};
    station.voices.push_back({4, "en", "Amelia", 48000, "", ""});
    station.dictionary.push_back({1, "Gong", std::chrono::seconds(1), true});
    station.dictionary.push_back({12, "Mind the gap", std::chrono::seconds(2), false});
    return station;
}

/// A connection to a simulated server whose time passes by hand.
struct ClientTest : testing::Test {
    explicit ClientTest(simserver::Station station = testStation())
        : server(std::move(station), {1.0, true, {}, {}, {}}) {
        skipPauses();
        connection.open();
    }
    ~ClientTest() override {
        connection.link().stop();
        pa::setTimeSource({});
    }

    /// Lets simulated time pass, and everything that it brings reach the subscribers.
    void advance(std::chrono::milliseconds time) {
        server.advance(time);
        connection.waitUntilDelivered();
    }

    simserver::SimServer server;
    TestEndpoint endpoint{server};
    paclient::Connection connection{endpoint};
};
