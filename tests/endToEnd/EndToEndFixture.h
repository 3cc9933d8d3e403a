#pragma once

#include <chrono>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <utility>

#include "framework/clock.h"
#include "link/ServerLink.h"
#include "link/embedded/EmbeddedTransport.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "simserver/SimServer.h"

/// The facade of the process. Never destroyed: the controller's worker uses it until the end.
inline AudioServer& audioServer() {
    static AudioServer& facade = *new AudioServer(gPaController);
    return facade;
}

/// The `Watch` of the process, an observer: it is never removed.
template <class Watch>
Watch& registered() {
    static Watch& theWatch = *[] {
        auto* const watch = new Watch;
        gPaController.registerObserver(watch);
        return watch;
    }();
    return theWatch;
}

/// The process's controller, a link, and a simulated server whose time the test advances. A test
/// sets its source of time before it connects.
struct EndToEndFixture : testing::Test {
    explicit EndToEndFixture(simserver::Station station, std::optional<std::time_t> clock = {})
        : server(std::move(station), {1.0, true, {}, {}, clock}) {}
    ~EndToEndFixture() override {
        link.stop();
        pa::setTimeSource({});
        pa::store(gAudioServerInstance, nullptr);
    }

    void connect() {
        link.start();
        EXPECT_TRUE(link.waitUntilReady(std::chrono::seconds(10)));
    }

    /// Lets simulated time pass and waits until its effects have reached caches and observers.
    void advance(std::chrono::milliseconds time) {
        server.advance(time);
        transport.waitUntilDelivered();
        link.waitUntilHandled();
    }

    simserver::SimServer server;
    palink::EmbeddedTransport transport{server};
    palink::ServerLink link{audioServer(), transport};
};
