// SPDX-License-Identifier: Apache-2.0
// The controller beside references, in one table. Each case runs in a process of its own, so that
// none depends on what another has cached.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "bench/controller/cases.h"
#include "bench/controller/ownProcess.h"

namespace bench {

ResultRow rowOf(const std::string& what, const Contender& measured, const Contender& reference,
                double wantedRatio) {
    ResultRow row{what, "ns", measured.samples, reference.samples};
    row.wantedRatio = wantedRatio;
    return row;
}

}  // namespace bench

namespace {

using namespace bench;

constexpr const char* inThisProcess = "--in-this-process";

std::vector<ResultRow> runInChild(const BenchCase& chosen, const RunSettings& settings) {
    return rowsOf(outputOfSelf(std::string(inThisProcess) + " --json --trials " +
                               std::to_string(settings.trials) + (settings.tiny ? " --tiny" : "") +
                               " --rows " + chosen.name));
}

int run(int argc, char** argv) {
    BenchCases cases;
    for (const auto& some : {recordCases(), threadCases(), operationCases(), syncCases(),
                             latencyCases(), recordLoadCases(), requestLoadCases()}) {
        cases.insert(cases.end(), some.begin(), some.end());
    }
    std::vector<std::string> names;
    std::transform(cases.begin(), cases.end(), std::back_inserter(names),
                   [](const BenchCase& row) { return row.name; });
    RunSettings settings;
    std::vector<std::string> chosen;
    bool json = false;
    bool here = false;
    CLI::App app("Measures the controller beside references.");
    app.add_option("--rows", chosen, "Only these cases")->check(CLI::IsMember(names));
    app.add_option("--trials", settings.trials, "Of each row")->check(CLI::Range(1, 1000));
    app.add_flag("--tiny", settings.tiny, "Least sizes: only to see that every row runs");
    app.add_flag("--json", json, "JSON in place of the table");
    app.add_flag(inThisProcess, here, "The case in this process")->group("");
    std::string peakOf;
    int records = 0;
    app.add_option("--peak-of", peakOf, "Prints the peak memory of this process")->group("");
    app.add_option("--records", records, "In its caches")->group("");
    CLI11_PARSE(app, argc, argv);
    if (!peakOf.empty()) {
        printPeak(peakOf, records);
        std::fflush(stdout);
        std::_Exit(0);
    }
    std::vector<ResultRow> rows;
    for (const BenchCase& row : cases) {
        if (!chosen.empty() && std::find(chosen.begin(), chosen.end(), row.name) == chosen.end()) {
            continue;
        }
        const auto measured = here ? row.run(settings) : runInChild(row, settings);
        rows.insert(rows.end(), measured.begin(), measured.end());
    }
    std::cout << (json ? tableJson("controller_bench", rows) : tableText(rows)) << std::flush;
    if (here) {
        std::_Exit(0);  // threads of the library do not end
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) try { return run(argc, argv); } catch (const std::exception& e) {
    std::cerr << "controller_bench: " << e.what() << '\n';
    return 1;
}
