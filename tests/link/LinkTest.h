// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "link/ServerLink.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "tests/host/HostTest.h"
#include "tests/link/ScriptedServer.h"

/// The facade of the tests: never destroyed, as the controller's worker may use it.
inline AudioServer& facade() {
    static AudioServer& theFacade = *new AudioServer(gPaController);
    return theFacade;
}

/// A link to a scripted server.
struct LinkTest : HostTest {
    ~LinkTest() override {
        link.stop();
        pa::store(gAudioServerInstance, nullptr);
        pa::store(gIndirectCXSConnection, false);
    }
    void start() {
        link.start();
        ASSERT_TRUE(link.waitUntilReady(std::chrono::seconds(10)));
    }
    /// Reports, and waits until the link has handled it.
    void say(const palink::ServerEvent& event) {
        server.say(event);
        transport.waitUntilDelivered();
    }
    /// @return the payload of the operation that is sent
    static std::string cancel(const std::string& id) {
        gPaController.cancelMessage(id);
        return '"' + id + '"';
    }

    ScriptedServer server;
    palink::EmbeddedTransport transport{server};
    palink::ServerLink link{facade(), transport};
};
