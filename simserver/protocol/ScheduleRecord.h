// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "include/common/RecordList.h"
#include "simserver/schedules/Schedule.h"

namespace simserver {

/// The record of a schedule: its fields in wire order. Every list is encoded once for each time
/// that its reader splits or translates it.
pa::RecordFields scheduleRecord(const Schedule& schedule);

}  // namespace simserver
