// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/libraryMessage.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <mqtt_protocol.h>
#include <stdexcept>
#include <utility>

namespace palink {

namespace {

/// Text that the library has allocated.
using LibraryText = std::unique_ptr<char, decltype(&std::free)>;

LibraryText owned(char* text) {
    return {text, std::free};
}

void requireAdded(int result, const char* property) {
    if (result != MOSQ_ERR_SUCCESS) {
        throw std::invalid_argument(std::string("MQTT cannot carry this ") + property);
    }
}

/// The library does not look at the texts of properties; a broker ends the connection.
void requireText(const std::string& text, const char* property) {
    constexpr std::size_t longest = std::numeric_limits<std::uint16_t>::max();
    requireAdded(text.size() > longest
                     ? MOSQ_ERR_INVAL
                     : mosquitto_validate_utf8(text.c_str(), static_cast<int>(text.size())),
                 property);
}

}  // namespace

PropertyList::PropertyList(const MqttMessage& message) {
    try {
        if (!message.responseTopic.empty()) {
            requireText(message.responseTopic, "response topic");
            requireAdded(mosquitto_property_add_string(&list_, MQTT_PROP_RESPONSE_TOPIC,
                                                       message.responseTopic.c_str()),
                         "response topic");
        }
        if (!message.correlation.empty()) {
            const std::size_t size = message.correlation.size();
            const bool fits = size <= std::numeric_limits<std::uint16_t>::max();
            requireAdded(fits ? mosquitto_property_add_binary(&list_, MQTT_PROP_CORRELATION_DATA,
                                                              message.correlation.data(),
                                                              static_cast<std::uint16_t>(size))
                              : MOSQ_ERR_INVAL,
                         "correlation data");
        }
        if (message.expirySeconds) {
            requireAdded(mosquitto_property_add_int32(&list_, MQTT_PROP_MESSAGE_EXPIRY_INTERVAL,
                                                      *message.expirySeconds),
                         "expiry");
        }
        for (const auto& [name, value] : message.userProperties) {
            requireText(name, "user property");
            requireText(value, "user property");
            requireAdded(mosquitto_property_add_string_pair(&list_, MQTT_PROP_USER_PROPERTY,
                                                            name.c_str(), value.c_str()),
                         "user property");
        }
    } catch (...) {
        mosquitto_property_free_all(&list_);
        throw;
    }
}

PropertyList::~PropertyList() {
    mosquitto_property_free_all(&list_);
}

mosquitto_property* PropertyList::release() {
    return std::exchange(list_, nullptr);
}

std::string_view LibraryMessage::topic() const {
    return message_.topic;
}

std::string_view LibraryMessage::payload() const {
    return {static_cast<const char*>(message_.payload),
            static_cast<std::size_t>(message_.payloadlen)};
}

bool LibraryMessage::retained() const {
    return message_.retain;
}

std::string LibraryMessage::responseTopic() const {
    char* text = nullptr;
    mosquitto_property_read_string(properties_, MQTT_PROP_RESPONSE_TOPIC, &text, false);
    const LibraryText topic = owned(text);
    return topic == nullptr ? "" : topic.get();
}

std::string LibraryMessage::correlation() const {
    void* bytes = nullptr;
    std::uint16_t size = 0;
    mosquitto_property_read_binary(properties_, MQTT_PROP_CORRELATION_DATA, &bytes, &size, false);
    const LibraryText data = owned(static_cast<char*>(bytes));
    return data == nullptr ? "" : std::string(data.get(), size);
}

std::optional<std::uint32_t> LibraryMessage::expirySeconds() const {
    std::uint32_t seconds = 0;
    const auto* const found = mosquitto_property_read_int32(
        properties_, MQTT_PROP_MESSAGE_EXPIRY_INTERVAL, &seconds, false);
    return found == nullptr ? std::nullopt : std::optional(seconds);
}

std::optional<std::string> LibraryMessage::userProperty(const char* name) const {
    const mosquitto_property* from = properties_;
    bool skipFirst = false;
    while (from != nullptr) {
        char* foundName = nullptr;
        char* foundValue = nullptr;
        from = mosquitto_property_read_string_pair(from, MQTT_PROP_USER_PROPERTY, &foundName,
                                                   &foundValue, skipFirst);
        const LibraryText ownedName = owned(foundName);
        const LibraryText value = owned(foundValue);
        if (from != nullptr && ownedName != nullptr && std::strcmp(ownedName.get(), name) == 0) {
            return value == nullptr ? "" : value.get();
        }
        skipFirst = true;
    }
    return std::nullopt;
}

void requireTaken(int result, const MqttMessage& message) {
    if (result == MOSQ_ERR_SUCCESS) {
        return;
    }
    const bool isTooLarge = result == MOSQ_ERR_PAYLOAD_SIZE || result == MOSQ_ERR_OVERSIZE_PACKET;
    throw std::invalid_argument("cannot publish to \"" + message.topic + "\": " +
                                (isTooLarge ? "the broker does not take messages of this size"
                                            : mosquitto_strerror(result)));
}

}  // namespace palink
