#pragma once

#include "console/text/records.h"

namespace console {

/// The schedule with what a list shows of it; its next run is reckoned from now.
Schedule described(const ScheduleDefinition& definition);

}  // namespace console
