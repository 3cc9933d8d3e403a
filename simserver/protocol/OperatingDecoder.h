// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// @file
/// Decodes what an operator asks of sources, sinks and software triggers. Values are in range, ids
/// may be unknown. Every function throws Refused for a payload that is anything else, naming the
/// field.

namespace simserver {

struct LockRequest {
    int sourceId = 0;
    std::string client;  ///< UUID
};

struct ZonesRequest {
    int sourceId = 0;
    std::vector<std::string> zones;
    bool all = false;  ///< every attached zone, instead of a list
};

struct GainRequest {
    int id = 0;
    double level = 0.0;  ///< dB, finite
};

struct MonitoringRequest {
    int sinkId = 0;
    bool enable = false;
};

struct ActivationRequest {
    int sourceId = 0;
    int priority = 0;
    std::string preChime;  ///< a number or a text
    std::string displayText;
};

/// 92/1, 92/2, 92/7: source,UUID
LockRequest decodeLock(std::string_view payload);

/// 92/3: source,zone^zone
ZonesRequest decodeAttachZones(std::string_view payload);

/// zone^zone, nothing for an empty text
std::vector<std::string> decodeZoneList(std::string_view list);

/// 92/4: source,zone^zone or, for all, source
ZonesRequest decodeDetachZones(std::string_view payload);

/// 92/8, 92/9: id,level,flag,flag
/// @param highest level that is in range, in dB
GainRequest decodeGain(std::string_view payload, int highest);

/// 92/10: flag,sink
MonitoringRequest decodeMonitoring(std::string_view payload);

/// 92/5: source,priority[,preChime,displayText]; everything after the third comma is the text
ActivationRequest decodeActivation(std::string_view payload);

/// 92/6, 92/29: id
int decodeId(std::string_view payload);

}  // namespace simserver
