// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <mosquitto.h>
#include <string>

#include "bench/link/stationSet.h"

namespace bench {

/// A client of the broker that is only the library: the reference of the measurements, and what
/// publishes in all of them. For a process with one thread.
class PlainClient {
public:
    /// Connects, and waits until the broker has accepted that.
    /// @throws std::runtime_error
    explicit PlainClient(int port);
    PlainClient(const PlainClient&) = delete;
    PlainClient& operator=(const PlainClient&) = delete;
    ~PlainClient();

    /// Publishes at QoS 0, retained, as a record of the station. Waits while the system takes no
    /// more.
    void publish(const PublishedRecord& record);

    /// Waits until the broker has taken everything that was published.
    void flush();

    /// Subscribes at QoS 0.
    /// @param take is called by `runUntil`
    void subscribe(const std::string& topic, std::function<void(const mosquitto_message&)> take);

    /// Runs the library's loop until the condition holds.
    template <class Condition>
    void runUntil(Condition holds) {
        while (!holds()) {
            require(mosquitto_loop(client_, waitMS, 1));
        }
    }

private:
    static constexpr int waitMS = 1000;

    static void require(int result);

    mosquitto* const client_;
    mosquitto_property* generation_ = nullptr;
    bool isAccepted_ = false;
    bool isAcknowledged_ = false;
    std::function<void(const mosquitto_message&)> take_;
};

}  // namespace bench
