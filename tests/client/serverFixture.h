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

/// A connection to a simulated server whose time passes by hand.
struct ClientTest : testing::Test {
    explicit ClientTest(simserver::Station station)
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

    struct ServerEndpoint final : paclient::Endpoint {
        explicit ServerEndpoint(simserver::SimServer& server) : embedded(server) {}
        palink::Transport& transport() override { return embedded; }
        std::string name() const override { return "test server"; }

        palink::EmbeddedTransport embedded;
    };

    simserver::SimServer server;
    ServerEndpoint endpoint{server};
    paclient::Connection connection{endpoint};
};
