// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

#include "framework/timeWidth.h"
#include "include/common/RecordList.h"
#include "simserver/audio/Preview.h"
#include "simserver/playback/PlayEngine.h"
#include "simserver/station/Station.h"

/// @file
/// The records of everything that the server holds: their fields in wire order.

namespace simserver {

/// @param lockHolder UUID of the client that holds its lock, empty for none
pa::RecordFields sourceRecord(const Source& source, const std::string& lockHolder, int dstNo);
pa::RecordFields attachedZonesRecord(const Source& source);

/// @param playing whether audio plays from it
pa::RecordFields sinkRecord(const Sink& sink, bool playing);

/// @param playing the type that plays there, null for nothing
pa::RecordFields zoneRecord(const Zone& zone, const PartType* playing);

pa::RecordFields triggerRecord(const Trigger& trigger, int dstNo);
pa::RecordFields selectorRecord(const Selector& selector);
pa::RecordFields voiceRecord(const Voice& voice);
pa::RecordFields previewRecord(const Preview& preview);

/// A user recording, which is reported as an announcement without content.
struct RecordingReport {
    std::string requestId;
    std::string state;
    SimTime start{0};
    std::optional<std::string> completionCode;  ///< nothing while it runs
    std::string message;
};

/// @name Announcements
/// @param epoch wall clock at simulated time 0
/// @{
pa::RecordFields recordingRecord(const RecordingReport& recording, std::time_t epoch);
pa::RecordFields announcementRecord(const PlayPart& part, std::time_t epoch);
/// @}

}  // namespace simserver
