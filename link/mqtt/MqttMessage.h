// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace palink {

/// An MQTT 5 message to publish.
struct MqttMessage {
    std::string topic;
    std::string payload;
    int qos = 1;
    bool retained = false;
    std::string responseTopic{};  ///< empty for none
    std::string correlation{};    ///< empty for none
    std::optional<std::uint32_t> expirySeconds{};
    std::vector<std::pair<std::string, std::string>> userProperties{};
};

/// A message that has arrived. Valid while the listener is called.
class ReceivedMessage {
public:
    virtual ~ReceivedMessage() = default;

    [[nodiscard]] virtual std::string_view topic() const = 0;
    [[nodiscard]] virtual std::string_view payload() const = 0;
    [[nodiscard]] virtual bool retained() const = 0;
    [[nodiscard]] virtual std::string responseTopic() const = 0;  ///< empty for none
    [[nodiscard]] virtual std::string correlation() const = 0;    ///< empty for none
    [[nodiscard]] virtual std::optional<std::uint32_t> expirySeconds() const = 0;  ///< what is left

    /// The first user property with this name.
    [[nodiscard]] virtual std::optional<std::string> userProperty(const char* name) const = 0;
};

}  // namespace palink
