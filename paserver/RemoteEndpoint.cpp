// SPDX-License-Identifier: Apache-2.0
#include "paserver/RemoteEndpoint.h"

#include <memory>
#include <netdb.h>
#include <sys/socket.h>
#include <utility>

#include "client/Connection.h"
#include "framework/clock.h"
#include "sdk/globals.h"
#include "util/Descriptor.h"

namespace paserver {

namespace {

/// The address from which this device reaches another one. Nothing is sent.
/// @param address as a number
/// @return empty when there is no way to it
std::string addressTowards(const std::string& address) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.c_str(), "1", &hints, &found) != 0) {
        return {};
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> target(found, freeaddrinfo);
    const pautil::Descriptor way(socket(target->ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_storage own{};
    socklen_t size = sizeof(own);
    char text[NI_MAXHOST] = "";
    auto* const ownAddress = reinterpret_cast<sockaddr*>(&own);
    const bool isFound =
        connect(way.number(), target->ai_addr, target->ai_addrlen) == 0 &&
        getsockname(way.number(), ownAddress, &size) == 0 &&
        getnameinfo(ownAddress, size, text, sizeof(text), nullptr, 0, NI_NUMERICHOST) == 0;
    return isFound ? text : "";
}

/// Sets the process's own address, unless the application has done so. A name is not looked up,
/// which may take long: its host counts as one that is far away.
void setDeviceAddress(const std::string& host) {
    constexpr const char* unset = "0.0.0.0";
    constexpr const char* farAway = "192.0.2.1";  // of no device: for documentation
    for (const std::string& address : {host, std::string(farAway)}) {
        const std::string own = gDeviceIPAddress == unset ? addressTowards(address) : "";
        gDeviceIPAddress = own.empty() ? gDeviceIPAddress : own;
    }
}

}  // namespace

RemoteEndpoint::RemoteEndpoint(const palink::BrokerOptions& options, std::string clientUuid,
                               palink::Destinations destinations, std::function<bool()> isAbandoned)
    : transport_(options, std::move(clientUuid), destinations),
      control_([this](const std::string& function, const std::string& arguments) {
          try {
              return transport_.control(function, arguments);
          } catch (const std::runtime_error& noAnswer) {
              throw paclient::NotConnected(noAnswer.what());
          }
      }) {
    if (isAbandoned) {
        transport_.abandonWaitsWhen(std::move(isAbandoned));
    }
    setDeviceAddress(options.host);
}

std::optional<paclient::LinkReport> RemoteEndpoint::report() const {
    const palink::MqttStatistics link = transport_.statistics();
    paclient::LinkReport report;
    report.problem = link.problem;
    report.isPermanent = link.permanent;
    report.generation = link.generation;
    report.synced = link.synced;
    report.forSeconds = (pa::monotonicMS() - link.sinceMS) / 1000;
    report.requests = link.requests;
    report.queued = link.queued;
    report.unanswered = link.unanswered;
    report.dropped = link.malformed + link.outdated;
    report.fetchedAgain = link.fetches;
    return report;
}

}  // namespace paserver
