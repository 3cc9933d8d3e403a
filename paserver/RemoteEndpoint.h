// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "client/Endpoint.h"
#include "link/mqtt/MqttTransport.h"
#include "paserver/RemoteSimControl.h"

namespace paserver {

/// The audio servers on a broker.
class RemoteEndpoint final : public paclient::Endpoint {
public:
    /// Sets `gDeviceIPAddress`, which operations name as their origin, unless the application has
    /// done so.
    /// @param clientUuid of this client, `AudioServer::getUUID`
    /// @throws palink::BrokerOptionsError when a file of the options cannot be used
    /// @param isAbandoned see `MqttTransport::abandonWaitsWhen`; empty for never
    RemoteEndpoint(const palink::BrokerOptions& options, std::string clientUuid,
                   palink::Destinations destinations = {}, std::function<bool()> isAbandoned = {});

    palink::MqttTransport& transport() override { return transport_; }

    /// Null while there is no connection to a simulated server.
    simserver::SimControl* simControl() override {
        return transport_.hasControl() ? &control_ : nullptr;
    }

    [[nodiscard]] std::optional<paclient::LinkReport> report() const override;

    /// The broker's address.
    [[nodiscard]] std::string name() const override { return transport_.url(); }

private:
    palink::MqttTransport transport_;
    RemoteSimControl control_;
};

}  // namespace paserver
