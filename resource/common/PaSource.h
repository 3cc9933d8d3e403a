#pragma once

#include <string>

/// An audio input of the PA system: an analogue input, a paging station, a handset, a train radio.
/// A plain value; the controller hands out copies.
struct PaSource {
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
    enum AttachState : int { UNKNOWN = 0, NOT_ATTACHED = 1, ATTACHED = 2 };
    enum BroadcastType : int { MULTICAST_AND_UNICAST = 0, UNICAST_ONLY = 1 };
    enum HealthState : int { UNKNOWN_HEALTHSTATE = 0, HEALTHY = 1, FAULTY = 2 };
    enum AttachMode : int { ADD_TO_EXISTING_SET = 0, REPLACE_EXISTING_SET = 1 };

    int id = 0;                         ///< source id at the server
    std::string location;               ///< where the source is
    std::string label;                  ///< display name
    std::string ipAddress = "0.0.0.0";  ///< device that holds the source
    Type type = SOURCE_TYPE_NOT_DEFINED;
    std::string subAddress;       ///< input within the device
    AttachState state = UNKNOWN;  ///< whether the source is attached
    bool isEnabled = true;
    double inputGain = -96.0;  ///< dB
    BroadcastType broadcastType = MULTICAST_AND_UNICAST;
    HealthState healthState = UNKNOWN_HEALTHSTATE;
    int targetGainAdjustment = 0;
    int priority = 500;
};

/// Which client holds the lock of a source.
struct PaSourceLockStatus {
    int sourceId = 0;
    std::string lockedUUID;  ///< UUID of the holder, empty for none
};
