// SPDX-License-Identifier: Apache-2.0
// The link over a broker, beside a client that receives the same messages with only the library.
// Every delivery has a broker of its own, and processes of their own for who publishes and who
// receives. The trials of a measurement and of its reference take turns.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <functional>
#include <iostream>

#include "bench/link/roles.h"
#include "bench/link/trial.h"
#include "bench/resultTable.h"

namespace {

using namespace bench;

struct BrokerRunSettings {
    std::vector<std::string> rows;
    int trials = 5;
    int clients = 200;
    bool json = false;
};

/// A column of the results of the trials.
template <class Value>
Samples samplesOf(const std::vector<TrialResult>& results, Value value) {
    Samples samples;
    for (const TrialResult& result : results) {
        samples.values.push_back(value(result));
    }
    return samples;
}

/// The trials of a plan, in turns.
struct Comparison {
    std::vector<TrialResult> client;
    std::vector<TrialResult> plain;

    Comparison(const TrialPlan& plan, const char* role, int trials) {
        for (int i = 0; i < trials; ++i) {
            plain.push_back(runTrial(plan, plainRole));
            client.push_back(runTrial(plan, role));
        }
    }

    template <class Value>
    ResultRow row(const std::string& what, const char* unit, Value value) const {
        return {what, unit, samplesOf(client, value), samplesOf(plain, value)};
    }
};

using Rows = std::vector<ResultRow>;

Rows throughput(const BrokerRunSettings& settings) {
    const Comparison trials({1000, 1, 200'000, 0}, clientRole, settings.trials);
    ResultRow rate = trials.row("records published, until the observer has been called", "/s",
                                [](const TrialResult& trial) { return trial.changesPerSecond; });
    rate.moreIsBetter = true;
    rate.wantedRatio = 0.9;
    return {rate, trials.row("  processor time of the receiver for each", "us",
                             [](const TrialResult& trial) { return trial.changeProcessorUS; })};
}

Rows sync(int records, const BrokerRunSettings& settings) {
    const std::string what = "a client synced with " + std::to_string(records) + " records";
    const auto time = [](const TrialResult& trial) { return trial.syncedMS; };
    const Comparison without({records}, clientWithoutPausesRole, settings.trials);
    const Comparison with({records}, clientRole, settings.trials);
    Rows rows{without.row(what + ", no pauses", "ms", time),
              without.row("  processor time of the receiver", "ms",
                          [](const TrialResult& trial) { return trial.syncProcessorMS; }),
              with.row(what, "ms", time)};
    rows[0].wantedRatio = 1.5;
    rows[2].wantedMost = records == 10'000 ? 1000 : 0;
    return rows;
}

Rows sync(const BrokerRunSettings& settings) {
    Rows rows = sync(10'000, settings);
    const Rows more = sync(100'000, settings);
    rows.insert(rows.end(), more.begin(), more.end());
    return rows;
}

Rows latency(const BrokerRunSettings& settings) {
    const Comparison trials({1000, 1, 2000, 500}, clientRole, settings.trials);
    Rows rows;
    for (const auto& [what, share] :
         {std::pair("median", 0.5), std::pair("99th percentile", 0.99)}) {
        rows.push_back(trials.row(
            std::string("record published until observer called, ") + what, "us",
            [share = share](const TrialResult& trial) { return quantile(trial.lastUS, share); }));
        rows.back().wantedRatio = 1.5;
    }
    return rows;
}

Rows clients(const BrokerRunSettings& settings) {
    const TrialPlan plan{2000, settings.clients, 20, 100'000};
    const Comparison trials(plan, clientRole, std::min(settings.trials, 3));
    const std::string all = std::to_string(settings.clients) + " clients";
    return {
        trials.row(all + ", 2000 records each: all synced", "ms",
                   [](const TrialResult& trial) { return trial.syncedMS; }),
        trials.row("  processor time of the broker for each record sent", "us",
                   [](const TrialResult& trial) { return trial.syncBrokerUS; }),
        trials.row("  memory of the broker then", "MiB",
                   [](const TrialResult& trial) { return trial.brokerMiB; }),
        trials.row("  its peak", "MiB",
                   [](const TrialResult& trial) { return trial.brokerPeakMiB; }),
        trials.row("  private memory of a client", "MiB",
                   [](const TrialResult& trial) { return trial.receiverMiB; }),
        trials.row("  a change to all: the median client has it after", "us",
                   [](const TrialResult& trial) { return quantile(trial.medianUS, 0.5); }),
        trials.row("  the last one", "us",
                   [](const TrialResult& trial) { return quantile(trial.lastUS, 0.5); }),
        trials.row("  processor time of the broker for each client", "us",
                   [](const TrialResult& trial) { return trial.changeBrokerUS; }),
    };
}

struct Topic {
    const char* name;
    Rows (*measure)(const BrokerRunSettings&);
};

constexpr Topic topics[] = {
    {"throughput", throughput},
    {"sync", sync},
    {"latency", latency},
    {"clients", clients},
};

int run(int argc, char** argv) {
    BrokerRunSettings settings;
    std::vector<std::string> names;
    for (const Topic& topic : topics) {
        names.emplace_back(topic.name);
    }
    CLI::App app("Measures the link over a broker beside only its library.");
    app.add_option("--rows", settings.rows, "Only these")->check(CLI::IsMember(names));
    app.add_option("--trials", settings.trials, "Of each, default 5; of the clients at most 3")
        ->check(CLI::Range(1, 1000));
    app.add_option("--clients", settings.clients, "Client processes, default 200")
        ->check(CLI::Range(1, 10'000));
    app.add_flag("--json", settings.json, "JSON in place of the table");
    CLI11_PARSE(app, argc, argv);
    Rows rows;
    for (const Topic& topic : topics) {
        const auto& wanted = settings.rows;
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), topic.name) != wanted.end()) {
            const Rows measured = topic.measure(settings);
            rows.insert(rows.end(), measured.begin(), measured.end());
        }
    }
    std::cout << (settings.json ? tableJson("broker_link_bench", rows) : tableText(rows));
    return 0;
}

}  // namespace

int main(int argc, char** argv) try {
    std::signal(SIGPIPE, SIG_IGN);  // a process that has ended is reported where it is read
    if (argc > 2 && std::string(argv[1]) == roleArgument) {
        return runRole({argv + 2, argv + argc});
    }
    return run(argc, argv);
} catch (const std::exception& e) {
    std::cerr << "broker_link_bench: " << e.what() << '\n';
    return 1;
}
