// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/mqttReasons.h"

#include <algorithm>
#include <iterator>
#include <mqtt_protocol.h>

namespace palink {

namespace {

struct ReasonText {
    int code;
    const char* text;
    bool isPermanent;  // another attempt would end in the same way
};

constexpr ReasonText refusals[] = {
    {MQTT_RC_BAD_USERNAME_OR_PASSWORD, "wrong user name or password", true},
    {MQTT_RC_BANNED, "the broker has banned this client", true},
    {MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION, "the broker does not speak MQTT 5", true},
    {1, "the broker does not speak MQTT 5", true},  // one that knows older versions only
    {MQTT_RC_SERVER_UNAVAILABLE, "the broker takes no more clients at the moment", false},
    {MQTT_RC_SERVER_BUSY, "the broker takes no more clients at the moment", false},
    {MQTT_RC_QUOTA_EXCEEDED, "the broker takes no more clients at the moment", false},
    {MQTT_RC_CONNECTION_RATE_EXCEEDED, "the broker takes no more clients at the moment", false},
};

constexpr ReasonText ends[] = {
    {MQTT_RC_SESSION_TAKEN_OVER, "another client has connected with the same identifier", false},
    {MQTT_RC_SERVER_SHUTTING_DOWN, "the broker is stopping", false},
    {MQTT_RC_KEEP_ALIVE_TIMEOUT, "the broker has received nothing from this client for too long",
     false},
    {MQTT_RC_PACKET_TOO_LARGE, "the broker does not take messages of this size", false},
    {MQTT_RC_NOT_AUTHORIZED, "the broker's administrator has ended the connection", false},
    {MQTT_RC_ADMINISTRATIVE_ACTION, "the broker's administrator has ended the connection", false},
};

/// @param other the text for a code that is not in the table
template <class Table>
ConnectionEnd endFor(const Table& table, int reasonCode, const std::string& other) {
    const auto found = std::find_if(std::begin(table), std::end(table),
                                    [&](const ReasonText& row) { return row.code == reasonCode; });
    if (found == std::end(table)) {
        return {other + " (reason code " + std::to_string(reasonCode) + ")", false};
    }
    return {found->text, found->isPermanent};
}

}  // namespace

ConnectionEnd refusedConnection(int reasonCode, const BrokerOptions& options,
                                const std::string& clientId) {
    if (reasonCode == MQTT_RC_CLIENTID_NOT_VALID) {
        return {"the broker does not accept the client identifier " + clientId, true};
    }
    if (reasonCode != MQTT_RC_NOT_AUTHORIZED) {
        return endFor(refusals, reasonCode, "the broker refuses the connection");
    }
    if (options.user.empty()) {
        return {"the broker asks for a user name and a password", true};
    }
    // Some brokers answer a wrong password with this, too.
    return {"wrong user name or password, or the user \"" + options.user + "\" may not connect",
            true};
}

std::string endedConnection(int reasonCode) {
    return endFor(ends, reasonCode, "the broker has ended the connection").reason;
}

}  // namespace palink
