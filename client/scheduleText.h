// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../framework/api.h"
#include "records.h"

namespace paclient {

/// The schedule with its texts for people; its next run is that of now, by `stationClock`.
/// May be called from any thread.
PA_API ScheduleEntry described(const ScheduleDefinition& definition);

}  // namespace paclient
