// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "bench/controller/turns.h"

namespace bench {

/// A group of rows. It runs in a process of its own.
struct BenchCase {
    const char* name;
    std::vector<ResultRow> (*run)(const RunSettings& settings);
};

using BenchCases = std::vector<BenchCase>;

BenchCases recordCases();
BenchCases threadCases();
BenchCases operationCases();
BenchCases syncCases();
BenchCases latencyCases();
BenchCases recordLoadCases();
BenchCases requestLoadCases();

/// Of the case "memory": fills the caches, and prints the peak memory of this process in KiB.
void printPeak(const std::string& what, int records);

/// A row that compares what was measured with a reference of the same rounds.
ResultRow rowOf(const std::string& what, const Contender& measured, const Contender& reference,
                double wantedRatio = 0);

}  // namespace bench
