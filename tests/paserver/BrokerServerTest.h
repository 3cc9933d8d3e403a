// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "framework/clock.h"
#include "paserver/BrokerServer.h"
#include "simserver/station/StationFile.h"
#include "tests/mqtt/BrokerProcess.h"
#include "tests/paserver/BrokerObserver.h"
#include "tests/support/TestFolder.h"

/// Servers of the small station on a broker of the test, with a client that sees everything. The
/// host's monotonic clock can be advanced.
struct BrokerServerTest : testing::Test {
    BrokerServerTest() {
        advancedMS = 0;
        pa::setTimeSource({nullptr,
                           [] {
                               using namespace std::chrono;
                               const auto now = steady_clock::now().time_since_epoch();
                               return duration_cast<milliseconds>(now).count() + advancedMS;
                           },
                           nullptr});
    }
    ~BrokerServerTest() override {
        server.reset();
        pa::setTimeSource({});
    }

    paserver::ServerSettings settings(int dstNo = 3) const {
        paserver::ServerSettings made;
        made.broker = broker.options();
        made.station = simserver::loadStation(PA_STATION_DIR "/small.json");
        made.station.dstNo = dstNo;
        made.simulation.spool = folder.path() / ("spool" + std::to_string(dstNo));
        made.simulation.speed = 20;
        made.role = palink::ServerRole::Active;
        return made;
    }

    /// Starts the server 3, and waits until the client has everything.
    void start() {
        server = std::make_unique<paserver::BrokerServer>(settings());
        EXPECT_TRUE(client.waitFor([this] { return client.isActive(3); }));
        EXPECT_TRUE(client.sync());
    }

    std::string askFor(const pa::OperationType& type, const std::string& payload, int dstNo = 3) {
        return client.ask(client.operation(type, payload, dstNo));
    }

    static inline std::atomic<std::int64_t> advancedMS{0};
    TestFolder folder;
    BrokerProcess broker;
    BrokerObserver client{broker.options()};
    std::unique_ptr<paserver::BrokerServer> server;
};
