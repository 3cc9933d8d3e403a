#pragma once

#include <ctime>

#include "include/common/RecordList.h"
#include "simserver/PlayEngine.h"
#include "simserver/Preview.h"
#include "simserver/Station.h"

/// @file
/// What the server says of each thing that it holds: the fields of its records in wire order.

namespace simserver {

/// @param lockHolder UUID of the client that holds its lock, empty for none
RecordFields sourceRecord(const Source& source, const std::string& lockHolder, int dstNo);
RecordFields attachedZonesRecord(const Source& source);

/// @param playing whether anything is heard from it
RecordFields sinkRecord(const Sink& sink, bool playing);

/// @param playing the type of what plays there, null for nothing
RecordFields zoneRecord(const Zone& zone, const AnnouncementType* playing);

RecordFields triggerRecord(const Trigger& trigger, int dstNo);
RecordFields selectorRecord(const Selector& selector);
RecordFields voiceRecord(const Voice& voice);
RecordFields previewRecord(const Preview& preview);

/// @param epoch wall clock at simulated time 0
RecordFields announcementRecord(const PlayPart& part, std::time_t epoch);

}  // namespace simserver
