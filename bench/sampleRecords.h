// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "include/common/RecordList.h"

/// @file
/// Records as servers report them.

namespace bench {

pa::RecordFields sourceFields(int id, const std::string& label);
pa::RecordFields sinkFields(int id, int state);
pa::RecordFields triggerFields(int id);
pa::RecordFields selectorFields(int id);
pa::RecordFields attachedZonesFields();
pa::RecordFields scheduleFields();
pa::RecordFields zoneFields(int number);

}  // namespace bench
