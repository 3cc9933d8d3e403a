// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "../../framework/api.h"
#include "../../sdk/Gain.h"

/// An audio output of the PA system: a speaker bus, an amplifier output, an induction loop, a help
/// point. A plain value; the controller hands out copies.
///
/// The operations act on the copy at hand: they read it, take no lock and never touch the cache.
/// The effect is reported by a later record of the server.
struct PA_API PaSink {
    /// What the sink is. Only 1 to 4 have a gain, only 9 and 10 can be reset.
    enum Type : int {
        SINK_TYPE_NOT_DEFINED = 0,
        HIGH_IMPEDANCE_SPEAKER_BUS = 1,
        LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT = 2,
        INDUCTION_LOOP_OUTPUT = 3,
        LINE_LEVEL_AUDIO_OUTPUT = 4,
        INTERCOM_HELP_POINT = 5,
        TELEPHONY_ENDPOINT = 6,
        RADIO_REBROADCAST = 7,
        PACI_CLIENT = 8,
        ZENTRIQ_KPL2 = 9,
        ZENTRIQ_RMX4 = 10,
    };
    /// Whether audio plays.
    enum State : int { UNKNOWN = 0, IDLE = 1, ACTIVE = 2 };
    /// What plays.
    enum AnnouncementType : int {
        NO_ANNOUNCEMENT = 0,
        FILE_PLAY = 1,
        LLPA_HIGH_QUALITY = 2,
        LLPA_EMERGENCY = 3,
        AUDIO_SWITCHING = 4,
        VOIP_STREAMING = 5,
    };
    /// As the server reports it.
    enum HealthState : int {
        UNKNOWN_HEALTHSTATE = 0,
        HEALTHY = 1,
        MINOR_FAULT = 2,
        MAJOR_FAULT = 3,
        INACTIVE = 4,
    };
    /// How audio is sent to it.
    enum BroadcastType : int { MULTICAST_AND_UNICAST = 0, UNICAST_ONLY = 1 };
    /// As the server reports it.
    enum MuteState : int { MUTED = 0, NOT_MUTED = 1, PARTIALLY_MUTED = 2 };

    int id = 0;                         ///< sink id given by the server
    int tbn_kplPort = 0;                ///< port on the system's interface unit
    std::string location;               ///< where the sink is
    std::string label;                  ///< display name
    std::string ipAddress = "0.0.0.0";  ///< output device, dotted
    Type type = SINK_TYPE_NOT_DEFINED;  ///< what it is
    /// Name of the type that the sink had when it was first reported; "UNKNOWN_TYPE" above 7.
    std::string typeAsString = "SINK_TYPE_NOT_DEFINED";
    std::string ampPortList;  ///< amplifier ports, as sent by the server
    State state = UNKNOWN;    ///< whether audio plays
    AnnouncementType announcementType = NO_ANNOUNCEMENT;  ///< what is playing now
    Gain outputGain{-96.0};                               ///< dB
    MuteState muteState = NOT_MUTED;                      ///< whether it is muted
    int monitoringSinkId = 0;                             ///< id of the sink that monitors this one
    bool sinkHasDigitalRoute = true;                      ///< not reported: always true
    int serverToUseSinkId = 0;                            ///< not reported: always 0
    int realDeviceDstNo = 0;                              ///< not reported: always 0
    HealthState healthState = UNKNOWN_HEALTHSTATE;        ///< of the device
    bool isEnabled = true;                                ///< not reported: always true
    std::string dspOutputChannelList;                     ///< not reported: always empty
    int relayDstNo = 0;                                   ///< not reported: always 0
    /// Not reported: always multicast and unicast.
    BroadcastType broadcastType = MULTICAST_AND_UNICAST;
    std::vector<std::string> paZoneList;          ///< ids of the zones the sink belongs to
    std::vector<std::string> monitoringZoneList;  ///< ids of the zones the sink monitors
    bool monitoringEnabled = true;                ///< whether the server monitors it
    std::string mediaLog;                         ///< media (campaign) log text

    /// Asks the server to set the output gain.
    /// @param gain             -96 to 0 dB, both allowed
    /// @param persistent       whether the server keeps it across a restart
    /// @param delayPersistence whether it may store it later
    /// @throws std::invalid_argument for a type other than 1 to 4
    /// @throws std::out_of_range for a level outside the range
    void setGain(Gain gain, bool persistent, bool delayPersistence) const;

    /// @return `outputGain`
    /// @throws std::out_of_range for a type other than 1 to 4
    [[nodiscard]] Gain getGain() const;

    /// Asks the server to switch the PA monitoring of this sink.
    void setPAMonitoring(bool enable) const;

    /// @return `monitoringEnabled`
    [[nodiscard]] bool getPAMonitoring() const;

    /// Asks the server to reset the output device.
    /// @throws std::out_of_range for a type other than `ZENTRIQ_KPL2` and `ZENTRIQ_RMX4`
    void reset() const;

    friend bool operator==(const PaSink& a, const PaSink& b) {
        return a.id == b.id && a.tbn_kplPort == b.tbn_kplPort && a.location == b.location &&
               a.label == b.label && a.ipAddress == b.ipAddress && a.type == b.type &&
               a.typeAsString == b.typeAsString && a.ampPortList == b.ampPortList &&
               a.state == b.state && a.announcementType == b.announcementType &&
               a.outputGain == b.outputGain && a.muteState == b.muteState &&
               a.monitoringSinkId == b.monitoringSinkId &&
               a.sinkHasDigitalRoute == b.sinkHasDigitalRoute &&
               a.serverToUseSinkId == b.serverToUseSinkId &&
               a.realDeviceDstNo == b.realDeviceDstNo && a.healthState == b.healthState &&
               a.isEnabled == b.isEnabled && a.dspOutputChannelList == b.dspOutputChannelList &&
               a.relayDstNo == b.relayDstNo && a.broadcastType == b.broadcastType &&
               a.paZoneList == b.paZoneList && a.monitoringZoneList == b.monitoringZoneList &&
               a.monitoringEnabled == b.monitoringEnabled && a.mediaLog == b.mediaLog;
    }
    friend bool operator!=(const PaSink& a, const PaSink& b) { return !(a == b); }
};
