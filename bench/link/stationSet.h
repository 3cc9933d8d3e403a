// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "link/mqtt/serverStatus.h"
#include "sdk/recordKinds.h"

/// @file
/// The station whose records the broker holds in the measurements.

namespace bench {

/// A server's number, and the generation of its records.
inline constexpr int stationDstNo = 1;
inline constexpr long stationGeneration = 1;

/// A record as it is published.
struct PublishedRecord {
    std::string topic;
    std::string payload;
};

struct StationSet {
    std::vector<PublishedRecord> records;
    PublishedRecord status;
};

/// A station with so many records: per 10,000 1,000 sources with attached zones each, 500
/// schedules, 4,000 sinks, 2,000 zones, 1,000 triggers and 500 selectors.
/// @param count a multiple of 20
StationSet stationSet(int count);

/// How many records of a kind it has.
int countOf(pa::RecordKind kind, int count);

/// The n-th change of the station: each is that of another sink, until all have changed.
PublishedRecord change(int n, int count);

}  // namespace bench
