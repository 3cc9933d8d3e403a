// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "../../framework/api.h"

/// An audio input of the PA system: an analogue input, a paging station, a handset, a train radio.
/// A plain value; the controller hands out copies. Operations are sent to the server and do not
/// change the copy; they may be called from any thread and return at once.
struct PA_API PaSource {
    /// What the source is. Only 1 and 2 have a gain.
    enum Type : int {
        SOURCE_TYPE_NOT_DEFINED = 0,
        ZENTRIQ_ANALOG_INPUT = 1,
        ZENTRIQ_IP_PAGING_STATION = 2,
        PC_AUDIO_INPUT = 3,
        ZENTRIQ_HANDSET = 4,
        SIP_HANDSET = 5,
        TRAIN_RADIO = 6,
        EWIS = 7,
        BGM_SERVER = 8,
        PEI_MIC = 9,
    };
    /// Whether zones are attached.
    enum AttachState : int { UNKNOWN = 0, NOT_ATTACHED = 1, ATTACHED = 2 };
    /// How its audio is sent.
    enum BroadcastType : int { MULTICAST_AND_UNICAST = 0, UNICAST_ONLY = 1 };
    /// As the server reports it.
    enum HealthState : int { UNKNOWN_HEALTHSTATE = 0, HEALTHY = 1, FAULTY = 2 };
    /// What becomes of the zones that are attached already.
    enum AttachMode : int { ADD_TO_EXISTING_SET = 0, REPLACE_EXISTING_SET = 1 };

    int id = 0;                                           ///< source id at the server
    std::string location;                                 ///< where the source is
    std::string label;                                    ///< display name
    std::string ipAddress = "0.0.0.0";                    ///< device that holds the source
    Type type = SOURCE_TYPE_NOT_DEFINED;                  ///< what it is
    std::string subAddress;                               ///< input within the device
    AttachState state = UNKNOWN;                          ///< whether the source is attached
    bool isEnabled = true;                                ///< not reported: always true
    double inputGain = -96.0;                             ///< dB
    BroadcastType broadcastType = MULTICAST_AND_UNICAST;  ///< that of the first record
    HealthState healthState = UNKNOWN_HEALTHSTATE;        ///< of the device
    int targetGainAdjustment = 0;                         ///< not reported: always 0
    int priority = 500;                                   ///< not reported: always 500

    /// Has the server set the input gain.
    /// @param level  in dB, -96 to +42
    /// @param first  a flag for the server, sent unchanged
    /// @param second another flag for the server, sent unchanged
    /// @throws std::invalid_argument when the source is neither an analogue input nor a paging
    ///                               station
    /// @throws std::out_of_range     when the level is out of range
    void setGain(double level, bool first, bool second) const;

    /// The input gain in dB, as last received.
    /// @throws std::out_of_range when the source is neither an analogue input nor a paging station
    [[nodiscard]] double getGain() const;

    /// Has the server attach a zone to this source.
    /// @param mode whether the zones that are attached already stay
    /// @throws std::out_of_range when the id is empty
    void attachPaZone(const std::string& zoneId, AttachMode mode) const;

    /// The same with several zones.
    /// @throws std::out_of_range when there is none
    void attachPaZone(const std::vector<std::string>& zoneIds, AttachMode mode) const;

    /// Has the server detach a zone from this source.
    /// @throws std::out_of_range when the id is empty
    void detachPaZone(const std::string& zoneId) const;

    /// The same with several zones.
    /// @throws std::out_of_range when there is none
    void detachPaZone(const std::vector<std::string>& zoneIds) const;

    /// Has the server detach every zone from this source.
    void detachAllPaZones() const;

    /// The ids of the zones that are attached to this source now, in sorted order; none without an
    /// audio server instance. Takes the controller's mutex.
    [[nodiscard]] std::vector<std::string> getAttachedPaZones() const;

    /// Whether the source is attached, as last received.
    [[nodiscard]] AttachState getAttachState() const { return state; }

    friend bool operator==(const PaSource& a, const PaSource& b) {
        return a.id == b.id && a.location == b.location && a.label == b.label &&
               a.ipAddress == b.ipAddress && a.type == b.type && a.subAddress == b.subAddress &&
               a.state == b.state && a.isEnabled == b.isEnabled && a.inputGain == b.inputGain &&
               a.broadcastType == b.broadcastType && a.healthState == b.healthState &&
               a.targetGainAdjustment == b.targetGainAdjustment && a.priority == b.priority;
    }
    friend bool operator!=(const PaSource& a, const PaSource& b) { return !(a == b); }
};

/// Which client holds the lock of a source.
struct PaSourceLockStatus {
    int sourceId = 0;        ///< of the source
    std::string lockedUUID;  ///< UUID of the holder, empty for none

    friend bool operator==(const PaSourceLockStatus& a, const PaSourceLockStatus& b) {
        return a.sourceId == b.sourceId && a.lockedUUID == b.lockedUUID;
    }
    friend bool operator!=(const PaSourceLockStatus& a, const PaSourceLockStatus& b) {
        return !(a == b);
    }
};
