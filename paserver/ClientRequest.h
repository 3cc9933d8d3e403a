// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "link/mqtt/MqttMessage.h"
#include "sdk/operations.h"

namespace paserver {

/// What a client asks of a server, as it has arrived.
struct ClientRequest {
    enum class Kind { Operation, RoundTrip, Level, UploadBegin, UploadData, Control };

    Kind kind = Kind::RoundTrip;
    pa::OperationType operation{};  ///< of an operation
    int element = 0;                ///< of a level meter
    std::string function{};         ///< of a control message
    std::string payload{};
    std::string responseTopic{};
    std::string correlation{};
    std::optional<std::int64_t> deadlineMS{};  ///< by `monotonicMS`: later it is not carried out
    std::string client{};                      ///< UUID, as sent
    std::optional<std::string> generation{};   ///< as sent
    std::optional<std::string> activeGeneration{};  ///< likewise
    std::string upload{};
    std::int64_t offset = 0;
    std::int64_t arrivedUS = 0;  ///< by `monotonicUS`

    /// How much memory it takes.
    [[nodiscard]] std::size_t bytes() const {
        constexpr std::size_t perRequest = 512;
        return perRequest + payload.size();
    }
};

/// The longest payload of a request.
inline constexpr std::size_t maxRequestBytes = std::size_t{1} << 20U;

/// @throws palink::MalformedMessage for a topic that is none of a request, a request without
///         correlation data or with a response topic that is none of a client, and a property that
///         is missing or wrong. The text names nothing that was sent
ClientRequest readRequest(const palink::ReceivedMessage& message, int dstNo);

}  // namespace paserver
