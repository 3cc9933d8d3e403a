// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../../framework/api.h"
#include "BrokerOptions.h"
#include "MqttMessage.h"

namespace palink {

/// Notified by an `MqttClient`, on its thread, one call at a time, without a lock of the client. A
/// function may use the client, but not stop it, and must not throw.
class MqttListener {
public:
    virtual ~MqttListener() = default;

    /// The broker has accepted the connection. No subscription is left of an earlier one.
    virtual void onConnected() = 0;

    /// The connection is lost, or an attempt to connect has failed. Not called at a stop.
    /// @param reason       for people, in one line, without the broker's address
    /// @param isPermanent  it will not succeed without another configuration: wrong password,
    ///                     unknown authority, wrong server name. The client tries again all the
    ///                     same
    virtual void onDisconnected(const std::string& reason, bool isPermanent) = 0;

    virtual void onMessage(const ReceivedMessage& message) = 0;

    /// What has arrived so far has been read, or much of it.
    virtual void onPause() {}

    /// The broker has acknowledged a publication of QoS 1; maybe before `publish` returns on
    /// another thread. Publications that are not acknowledged when the connection is lost are
    /// forgotten.
    /// @param reasonCode of MQTT 5: 0 accepted, 0x10 no subscriber, 0x87 not authorized
    virtual void onPublished(int /*id*/, int /*reasonCode*/) {}
};

/// A connection to an MQTT 5 broker, on a thread of its own. It connects again after a loss,
/// without end, with pauses by `Backoff`. No function throws because of the network, and none
/// raises a signal.
///
/// `start` and `stop` are called by one thread; the other functions by any.
class MqttClient {
public:
    /// QoS 1 publications that may wait for their acknowledgement: the library's cost for each
    /// rises with their number.
    static constexpr std::size_t maxOutstanding = 400;

    /// Publications of any QoS that may wait to be sent or acknowledged, and the most bytes of
    /// them: `publish` takes no more.
    static constexpr std::size_t maxWaiting = 20'000;
    static constexpr std::size_t maxWaitingBytes = std::size_t{64} << 20U;

    /// @param listener must outlive the client
    /// @throws BrokerOptionsError when an option or one of the files cannot be used
    MqttClient(BrokerOptions options, std::string clientId, MqttListener& listener);
    MqttClient(const MqttClient&) = delete;
    MqttClient& operator=(const MqttClient&) = delete;
    ~MqttClient();

    /// What the broker publishes when the connection is lost. Before `start`.
    void setWill(MqttMessage will);

    /// Begins to connect. Returns at once.
    void start();

    /// Disconnects, after what was published has been acknowledged or `limit` has passed. When this
    /// returns the listener is not called any more. Does nothing when the client is stopped.
    /// @return whether there was a connection on which everything has been acknowledged
    bool stop(std::chrono::milliseconds limit = std::chrono::seconds(1));

    /// Ends the connection without a notice to the broker, so that it publishes the will, and
    /// connects again.
    void dropConnection();

    /// Publishes. Does not block on the network.
    /// @return the id for `onPublished` (0 at QoS 0); nothing when there is no connection, or too
    ///         much waits
    /// @throws std::invalid_argument for a message that MQTT cannot carry: a topic with a wildcard,
    ///         a payload above 256 MB
    std::optional<int> publish(const MqttMessage& message);

    /// Waits while `maxOutstanding` publications are not acknowledged. Not to be called by the
    /// listener.
    /// @return false when there is no connection, or the limit has passed
    bool waitForSpace(std::chrono::milliseconds limit);

    /// Subscribes to these topics, in one packet. What the broker has retained arrives, also of
    /// topics that are subscribed already. A subscription that the broker refuses is reported.
    /// @param noLocal without what this client publishes itself
    /// @return false when there is no connection
    bool subscribe(const std::vector<std::string>& topics, int qos, bool noLocal = false);

    /// Whether the broker has not answered a subscription yet.
    [[nodiscard]] bool isSubscribing() const;

    /// @return false when there is no connection
    bool unsubscribe(const std::vector<std::string>& topics);

    [[nodiscard]] bool isConnected() const;

    [[nodiscard]] PA_API const BrokerOptions& options() const;

private:
    class Connection;
    std::unique_ptr<Connection> connection_;
};

}  // namespace palink
