// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mosquitto.h>

#include "link/mqtt/MqttMessage.h"

/// @file
/// Messages as the library has them.

namespace palink {

/// The properties of a message to publish.
class PropertyList {
public:
    /// @throws std::invalid_argument for a text that is no UTF-8 or too long
    explicit PropertyList(const MqttMessage& message);
    PropertyList(const PropertyList&) = delete;
    PropertyList& operator=(const PropertyList&) = delete;
    ~PropertyList();

    [[nodiscard]] const mosquitto_property* get() const { return list_; }

    /// Hands the list over to the library.
    mosquitto_property* release();

private:
    mosquitto_property* list_ = nullptr;
};

/// A message that has arrived. Reads a property when it is asked for.
class LibraryMessage final : public ReceivedMessage {
public:
    LibraryMessage(const mosquitto_message& message, const mosquitto_property* properties)
        : message_(message), properties_(properties) {}

    [[nodiscard]] std::string_view topic() const override;
    [[nodiscard]] std::string_view payload() const override;
    [[nodiscard]] bool retained() const override;
    [[nodiscard]] std::string responseTopic() const override;
    [[nodiscard]] std::string correlation() const override;
    [[nodiscard]] std::optional<std::uint32_t> expirySeconds() const override;
    [[nodiscard]] std::optional<std::string> userProperty(const char* name) const override;

private:
    const mosquitto_message& message_;
    const mosquitto_property* const properties_;
};

/// @throws std::invalid_argument unless the library has taken a publication or will
void requireTaken(int result, const MqttMessage& message);

}  // namespace palink
