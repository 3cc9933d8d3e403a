// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "link/mqtt/MqttClient.h"
#include "tests/host/Transcript.h"

/// Writes down what an `MqttClient` reports, a line for each call.
struct NotingListener : palink::MqttListener {
    void onConnected() override {
        whenConnected();
        steps.add("connected\n");
    }
    void onDisconnected(const std::string& reason, bool isPermanent) override {
        steps.add((isPermanent ? "refused: " : "disconnected: ") + reason + "\n");
    }
    void onMessage(const palink::ReceivedMessage& message) override { steps.add(noted(message)); }
    void onPublished(int /*id*/, int reasonCode) override {
        steps.add("published " + std::to_string(reasonCode) + "\n");
    }

    /// Waits for a text, for a minute at most.
    [[nodiscard]] bool reports(const std::string& text) {
        return steps.waitFor(text).find(text) != std::string::npos;
    }

    std::function<void()> whenConnected = [] {};
    std::function<std::string(const palink::ReceivedMessage&)> noted =
        [](const palink::ReceivedMessage& message) {
            return std::string(message.topic()) + " = " + std::string(message.payload()) + "\n";
        };
    Transcript steps;
};
