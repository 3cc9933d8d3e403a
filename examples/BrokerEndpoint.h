// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <public-address/client/Connection.h>
#include <public-address/client/Endpoint.h>
#include <public-address/link/mqtt/MqttTransport.h>
#include <stdexcept>
#include <string>

/// The audio servers on a broker.
class BrokerEndpoint final : public paclient::Endpoint {
public:
    /// @param broker HOST[:PORT]
    explicit BrokerEndpoint(const std::string& broker)
        : transport_(palink::parseBrokerUrl("mqtt://" + broker),
                     paclient::audioServer().getUUID()) {}

    palink::Transport& transport() override { return transport_; }
    [[nodiscard]] std::string name() const override { return transport_.url(); }

    /// Why there is no connection, for the exception of `Connection::open`.
    [[nodiscard]] std::optional<paclient::LinkReport> report() const override {
        const palink::MqttStatistics link = transport_.statistics();
        paclient::LinkReport report;
        report.problem = link.problem;
        report.isPermanent = link.permanent;
        return report;
    }

private:
    palink::MqttTransport transport_;
};

/// The broker of the command line: PROGRAM --server HOST[:PORT] ...
inline std::string brokerOf(int argc, char** argv) {
    if (argc < 3 || argv[1] != std::string("--server")) {
        throw std::invalid_argument("the first arguments are --server HOST[:PORT]");
    }
    return argv[2];
}
