#include "link/mqtt/mqttReasons.h"

#include <mqtt_protocol.h>

namespace palink {

namespace {

std::string withCode(const std::string& text, int reasonCode) {
    return text + " (reason code " + std::to_string(reasonCode) + ")";
}

}  // namespace

ConnectionEnd refusedConnection(int reasonCode, const BrokerOptions& options,
                                const std::string& clientId) {
    switch (reasonCode) {
        case MQTT_RC_BAD_USERNAME_OR_PASSWORD:
            return {"wrong user name or password", true};
        case MQTT_RC_NOT_AUTHORIZED:
            // Some brokers answer a wrong password with this, too.
            return options.user.empty()
                       ? ConnectionEnd{"the broker asks for a user name and a password", true}
                       : ConnectionEnd{"wrong user name or password, or the user \"" +
                                           options.user + "\" may not connect",
                                       true};
        case MQTT_RC_CLIENTID_NOT_VALID:
            return {"the broker does not accept the client identifier " + clientId, true};
        case MQTT_RC_BANNED:
            return {"the broker has banned this client", true};
        case MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION:
        case 1:  // the same of a broker that knows older versions only
            return {"the broker does not speak MQTT 5", true};
        case MQTT_RC_SERVER_UNAVAILABLE:
        case MQTT_RC_SERVER_BUSY:
        case MQTT_RC_QUOTA_EXCEEDED:
        case MQTT_RC_CONNECTION_RATE_EXCEEDED:
            return {"the broker takes no more clients at the moment", false};
        default:
            return {withCode("the broker refuses the connection", reasonCode), false};
    }
}

std::string endedConnection(int reasonCode) {
    switch (reasonCode) {
        case MQTT_RC_SESSION_TAKEN_OVER:
            return "another client has connected with the same identifier";
        case MQTT_RC_SERVER_SHUTTING_DOWN:
            return "the broker is stopping";
        case MQTT_RC_KEEP_ALIVE_TIMEOUT:
            return "the broker has received nothing from this client for too long";
        case MQTT_RC_PACKET_TOO_LARGE:
            return "the broker does not take messages of this size";
        case MQTT_RC_NOT_AUTHORIZED:
        case MQTT_RC_ADMINISTRATIVE_ACTION:
            return "the broker's administrator has ended the connection";
        default:
            return withCode("the broker has ended the connection", reasonCode);
    }
}

}  // namespace palink
