// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "link/mqtt/MqttMessage.h"
#include "link/mqtt/TlsContext.h"
#include "link/mqtt/mqttReasons.h"

struct mosquitto;

namespace palink {

class LibraryClient;

/// Notified by a `BrokerSession`, on the thread that calls `proceed`.
class SessionListener {
public:
    virtual ~SessionListener() = default;
    virtual void onAccepted() = 0;
    virtual void onMessage(const ReceivedMessage& message) = 0;

    /// A publication of QoS 1 has been acknowledged, or one of QoS 0 written.
    virtual void onAcknowledged(int id, int reasonCode) = 0;
    virtual void onSubscribed(int id, const std::vector<int>& reasonCodes) = 0;
};

/// One connection to a broker, from the attempt to the end. `publish`, `subscribe` and
/// `unsubscribe` may be called by any thread while it lives, the others by one, which polls.
class BrokerSession {
public:
    /// @param will null for none
    /// @throws BrokerOptionsError, std::invalid_argument when options or will cannot be used
    BrokerSession(LibraryClient& library, const BrokerOptions& options, const std::string& clientId,
                  const MqttMessage* will, SessionListener& listener);
    BrokerSession(const BrokerSession&) = delete;
    BrokerSession& operator=(const BrokerSession&) = delete;
    /// Closes the connection, if it is still there, without a notice to the broker.
    ~BrokerSession();

    /// Begins to connect.
    /// @param address as a number
    void connect(const std::string& address);

    /// What to poll for: POLLIN, POLLOUT.
    [[nodiscard]] short wantedEvents() const;
    [[nodiscard]] int descriptor() const;

    /// Reads and writes what is possible without waiting.
    /// @param events that poll has found
    /// @return false when the connection has ended
    bool proceed(short events);

    /// Queues the notice that the client leaves. `proceed` writes it and then ends.
    void disconnect();

    /// Ends the attempt, for this reason.
    void abandon(const std::string& reason) { endWith({reason, false}); }

    /// Whether the broker has accepted the client.
    [[nodiscard]] bool isAccepted() const { return isAccepted_; }

    /// Whether the address could be reached.
    [[nodiscard]] bool isReached() const { return isReached_; }

    /// After the end.
    [[nodiscard]] const ConnectionEnd& end() const { return end_; }

    /// @return the id for `onAcknowledged`, nothing when the connection is lost
    /// @throws std::invalid_argument for what MQTT or this broker cannot carry
    std::optional<int> publish(const MqttMessage& message);

    /// @return the id for `onSubscribed`
    int subscribe(const std::vector<std::string>& topics, int qos, bool noLocal);
    void unsubscribe(const std::vector<std::string>& topics);

private:
    struct Callbacks;

    void configure(const MqttMessage* will);
    bool finishConnecting();
    bool read();
    bool check(int result);
    bool fail(int result);
    bool endWith(ConnectionEnd end);

    mosquitto* const client_;
    const BrokerOptions& options_;
    const std::string& clientId_;
    SessionListener& listener_;
    std::optional<TlsContext> tls_;
    int firstFault_ = 0;  // errno of what the library did when it began to connect
    bool isReached_ = false;
    bool isAccepted_ = false;
    bool isEnded_ = false;
    int refusal_ = 0;  // reason code of a CONNACK
    ConnectionEnd end_;
};

}  // namespace palink
