// SPDX-License-Identifier: Apache-2.0
#include "bench/link/trial.h"

#include <algorithm>
#include <chrono>
#include <memory>

#include "bench/link/RoleProcess.h"
#include "bench/link/roles.h"
#include "bench/processStatus.h"
#include "bench/resultTable.h"
#include "tests/mqtt/BrokerProcess.h"

namespace bench {

namespace {

using Times = std::vector<std::int64_t>;

constexpr double kiBPerMiB = 1024;
constexpr double nsPerUS = 1e3;
constexpr double nsPerMS = 1e6;
constexpr double nsPerSecond = 1e9;

/// Times from the one moment to the other.
double between(std::int64_t from, std::int64_t to, double unitNS) {
    return static_cast<double>(to - from) / unitNS;
}

void publishStation(const std::string& port, const std::string& records) {
    RoleProcess station({stationRole, port, records});
    station.begin();
    station.end();
}

using Receivers = std::vector<std::unique_ptr<RoleProcess>>;

void sync(const Receivers& receivers, TrialResult& result) {
    const std::int64_t start = std::chrono::steady_clock::now().time_since_epoch().count();
    for (const auto& receiver : receivers) {
        receiver->begin();
    }
    std::int64_t last = 0;
    std::vector<double> memory;
    for (const auto& receiver : receivers) {
        const Times synced = receiver->read("synced");
        last = std::max(last, synced.at(0));
        result.syncProcessorMS = static_cast<double>(synced.at(1)) / nsPerMS;
        memory.push_back(static_cast<double>(synced.at(2)) / kiBPerMiB);
    }
    result.syncedMS = between(start, last, nsPerMS);
    result.receiverMiB = quantile(memory, 0.5);
}

void publishChanges(RoleProcess& publisher, const Receivers& receivers, TrialResult& result) {
    publisher.begin();
    const Times sent = publisher.read("sent");
    std::vector<Times> received;
    for (const auto& receiver : receivers) {
        received.push_back(receiver->read("received"));
        const double spent = static_cast<double>(receiver->read("spent").at(0));
        result.changeProcessorUS = spent / nsPerUS / static_cast<double>(sent.size());
    }
    std::int64_t last = 0;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        std::vector<double> delays;
        for (const Times& times : received) {
            delays.push_back(between(sent[i], times.at(i), nsPerUS));
            last = std::max(last, times.at(i));
        }
        result.medianUS.push_back(quantile(delays, 0.5));
        result.lastUS.push_back(quantile(delays, 1));
    }
    result.changesPerSecond =
        static_cast<double>(sent.size()) / between(sent.front(), last, nsPerSecond);
}

}  // namespace

TrialResult runTrial(const TrialPlan& plan, const std::string& role) {
    const BrokerProcess broker;
    const std::string port = std::to_string(broker.port());
    const std::string records = std::to_string(plan.records);
    const std::string changes = std::to_string(plan.changes);
    publishStation(port, records);
    Receivers receivers;
    while (receivers.size() < static_cast<std::size_t>(plan.receivers)) {
        receivers.push_back(
            std::make_unique<RoleProcess>(std::vector<std::string>{role, port, records, changes}));
    }
    TrialResult result;
    const std::int64_t atStart = processorNS(broker.id());
    sync(receivers, result);
    const std::int64_t whenSynced = processorNS(broker.id());
    result.syncBrokerUS = between(atStart, whenSynced, nsPerUS) / plan.records / plan.receivers;
    const std::string brokerId = std::to_string(broker.id());
    result.brokerMiB = static_cast<double>(statusNumber(brokerId, "VmRSS")) / kiBPerMiB;
    result.brokerPeakMiB = static_cast<double>(statusNumber(brokerId, "VmHWM")) / kiBPerMiB;
    if (plan.changes > 0) {
        RoleProcess publisher(
            {publisherRole, port, records, changes, std::to_string(plan.intervalUS)});
        publishChanges(publisher, receivers, result);
        result.changeBrokerUS =
            between(whenSynced, processorNS(broker.id()), nsPerUS) / plan.changes / plan.receivers;
    }
    return result;
}

}  // namespace bench
