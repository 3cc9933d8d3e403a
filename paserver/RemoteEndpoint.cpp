#include "paserver/RemoteEndpoint.h"

#include <utility>

#include "framework/clock.h"

namespace paserver {

RemoteEndpoint::RemoteEndpoint(palink::BrokerOptions options, std::string clientUuid,
                               palink::Destinations destinations)
    : transport_(std::move(options), std::move(clientUuid), std::move(destinations)),
      control_([this](const std::string& function, const std::string& arguments) {
          return transport_.control(function, arguments);
      }) {}

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
    report.dropped = link.malformed + link.leftBehind;
    report.fetchedAgain = link.fetches;
    return report;
}

}  // namespace paserver
