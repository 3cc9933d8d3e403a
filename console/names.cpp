#include "console/names.h"

#include <cstddef>
#include <iterator>

#include "console/lookup.h"

namespace console {

namespace {

// By value, from 0.
constexpr const char* sourceTypes[] = {"SOURCE_TYPE_NOT_DEFINED",
                                       "ZENTRIQ_ANALOG_INPUT",
                                       "ZENTRIQ_IP_PAGING_STATION",
                                       "PC_AUDIO_INPUT",
                                       "ZENTRIQ_HANDSET",
                                       "SIP_HANDSET",
                                       "TRAIN_RADIO",
                                       "EWIS",
                                       "BGM_SERVER",
                                       "PEI_MIC"};
constexpr const char* attachStates[] = {"UNKNOWN", "NOT_ATTACHED", "ATTACHED"};
constexpr const char* broadcastTypes[] = {"MULTICAST_AND_UNICAST", "UNICAST_ONLY"};
constexpr const char* sourceHealthStates[] = {"UNKNOWN_HEALTHSTATE", "HEALTHY", "FAULTY"};
constexpr const char* sinkTypes[] = {"SINK_TYPE_NOT_DEFINED",
                                     "HIGH_IMPEDANCE_SPEAKER_BUS",
                                     "LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT",
                                     "INDUCTION_LOOP_OUTPUT",
                                     "LINE_LEVEL_AUDIO_OUTPUT",
                                     "INTERCOM_HELP_POINT",
                                     "TELEPHONY_ENDPOINT",
                                     "RADIO_REBROADCAST",
                                     "PACI_CLIENT",
                                     "ZENTRIQ_KPL2",
                                     "ZENTRIQ_RMX4"};
constexpr const char* sinkStates[] = {"UNKNOWN", "IDLE", "ACTIVE"};
constexpr const char* sinkAnnouncements[] = {"NO_ANNOUNCEMENT",   "FILE_PLAY",
                                             "LLPA_HIGH_QUALITY", "LLPA_EMERGENCY",
                                             "AUDIO_SWITCHING",   "VOIP_STREAMING"};
constexpr const char* sinkHealthStates[] = {"UNKNOWN_HEALTHSTATE", "HEALTHY", "MINOR_FAULT",
                                            "MAJOR_FAULT", "INACTIVE"};
constexpr const char* muteStates[] = {"MUTED", "NOT_MUTED", "PARTIALLY_MUTED"};
constexpr const char* messageTypes[] = {"LIVE_STREAM", "RECORDED_STREAM",
                                        "DICTIONARY",  "DISPLAY",
                                        "TTS",         "BGM",
                                        "MIXED",       "NONE",
                                        "TEMPLATE",    "DISPLAY_TEMPLATE",
                                        "TTS_SAF",     "RECORDED_STREAM_SAF"};
constexpr const char* textEncodings[] = {"ISO_8859_1", "UTF_8"};

template <std::size_t N>
std::string nameIn(const char* const (&names)[N], int value) {
    const bool known = value >= 0 && static_cast<std::size_t>(value) < N;
    return known ? names[value] : std::to_string(value);
}

}  // namespace

std::string nameOf(PaSource::Type value) {
    return nameIn(sourceTypes, value);
}
std::string nameOf(PaSource::AttachState value) {
    return nameIn(attachStates, value);
}
std::string nameOf(PaSource::BroadcastType value) {
    return nameIn(broadcastTypes, value);
}
std::string nameOf(PaSource::HealthState value) {
    return nameIn(sourceHealthStates, value);
}
std::string nameOf(PaSink::Type value) {
    return nameIn(sinkTypes, value);
}
std::string nameOf(PaSink::State value) {
    return nameIn(sinkStates, value);
}
std::string nameOf(PaSink::AnnouncementType value) {
    return nameIn(sinkAnnouncements, value);
}
std::string nameOf(PaSink::HealthState value) {
    return nameIn(sinkHealthStates, value);
}
std::string nameOf(PaSink::BroadcastType value) {
    return nameIn(broadcastTypes, value);
}
std::string nameOf(PaSink::MuteState value) {
    return nameIn(muteStates, value);
}
std::string nameOf(Message::Type value) {
    return nameIn(messageTypes, value);
}
std::string nameOf(Message::TextEncoding value) {
    return nameIn(textEncodings, value);
}

std::optional<Message::Type> messageTypeNamed(const std::string& name) {
    for (std::size_t i = 0; i < std::size(messageTypes); ++i) {
        if (i != Message::NONE && lowered(messageTypes[i]) == lowered(name)) {
            return static_cast<Message::Type>(i);
        }
    }
    return std::nullopt;
}

std::string messageTypeNames() {
    std::string result;
    for (std::size_t i = 0; i < std::size(messageTypes); ++i) {
        if (i != Message::NONE) {
            result += (result.empty() ? "" : ", ") + std::string(messageTypes[i]);
        }
    }
    return result;
}

}  // namespace console
