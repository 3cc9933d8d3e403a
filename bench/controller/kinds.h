// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/controller/requestKinds.h"
#include "bench/controller/resourceKinds.h"
#include "simserver/station/Station.h"

/// @file
/// Every kind of record: what a server sends for a key, how the references read it, and what the
/// controller does with it. The cases of bench/controller/recordCases.cpp are made from these
/// descriptions. A record has two versions, which differ in the state of what it describes.

namespace bench {

/// A station that reports about so many records of these descriptions, and no schedules.
simserver::Station stationOf(int records);

}  // namespace bench
