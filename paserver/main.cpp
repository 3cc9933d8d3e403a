// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <cstdio>
#include <optional>

#include "framework/clock.h"
#include "metrics/MetricsEndpoint.h"
#include "paserver/Arguments.h"
#include "paserver/ServiceNotice.h"
#include "paserver/daemonStart.h"
#include "paserver/stopSignals.h"

namespace {

using paserver::BrokerServer;

constexpr std::chrono::milliseconds tick{50};

/// Serves until a signal comes or the server ends by itself.
void serve(const BrokerServer& server, paserver::ServiceNotice& notice) {
    constexpr std::int64_t longestTurnMS = 5000;
    bool isReady = false;
    std::uint64_t beats = 0;
    std::int64_t beatMS = pa::monotonicMS();
    while (!server.hasEnded() && !paserver::awaitStopSignal(tick)) {
        if (server.isReady() && !isReady) {
            isReady = true;
            notice.ready();
        }
        if (server.beats() != beats) {
            beats = server.beats();
            beatMS = pa::monotonicMS();
        }
        if (pa::monotonicMS() < beatMS + longestTurnMS) {
            notice.works();
        }
    }
}

void stop(BrokerServer& server, paserver::ServiceNotice& notice) {
    notice.stopping();
    server.requestStop();
    paserver::awaitEnd([&] {
        notice.works();
        return server.hasEnded();
    });
}

}  // namespace

int main(int argc, char** argv) {
    paserver::blockStopSignals();  // the main thread waits for them
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    paserver::Arguments arguments = paserver::readArguments(words);
    if (const auto exitCode = paserver::beginDaemon("paserver", arguments)) {
        return *exitCode;
    }
    try {
        paserver::ServiceNotice notice;  // before there are threads: it changes the environment
        BrokerServer server(std::move(arguments.settings));
        std::optional<pametrics::MetricsEndpoint> metrics;
        if (!arguments.metrics.empty()) {
            metrics.emplace(
                arguments.metrics,
                [&server] { return paserver::metricsText(server.state(), server.counters()); },
                [&server] { return server.isReady() && server.isConnected(); });
        }
        serve(server, notice);
        stop(server, notice);
        if (const std::string failure = server.failure(); !failure.empty()) {
            return paserver::refuse(
                "paserver", server.isReplaced() ? paserver::replaced : paserver::cannotStart,
                failure, arguments.journal);
        }
        return paserver::stopped;
    } catch (const std::exception& error) {
        return paserver::refuse("paserver", paserver::cannotStart, error.what(), arguments.journal);
    }
}
