// SPDX-License-Identifier: Apache-2.0
#include "client/names.h"

#include <cstddef>
#include <iterator>

#include "client/letterCase.h"

namespace paclient {

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
constexpr const char* triggerTypes[] = {"TRIGGER_TYPE_UNDEFINED",
                                        "DIN_NORMALLY_OPEN",
                                        "DIN_NORMALLY_CLOSED",
                                        "KEYPAD_KEY",
                                        "VOX",
                                        "STREAM_PRESENCE",
                                        "TOUCHPAD_ZONE",
                                        "INCOMING_TELEPHONY_CALL",
                                        "MICROPHONE_CURRENT_SENSE",
                                        "USER_CONDITIONAL"};
constexpr const char* triggerStates[] = {"UNKNOWN", "INACTIVE", "ACTIVE"};
constexpr const char* priorityModes[] = {"ABSOLUTE_PRIORITY", "RELATIVE_PRIORITY"};
constexpr const char* selectorTypes[] = {
    "SELECTOR_TYPE_UNDEFINED", "DIN_NORMALLY_OPEN", "DIN_NORMALLY_CLOSED", "KEYPAD_KEY",
    "TOUCHPAD_REGION",         "TELEPHONY_INPUT",   "TELEPHONY_DID",       "USER_DEFINED"};
constexpr const char* selectorProtections[] = {
    "FIXED_CONFIGURATION", "VOLATILE_SOFTWARE_CONFIGURABLE", "NONVOLATILE_SOFTWARE_CONFIGURABLE"};
constexpr const char* selectorModes[] = {"ADD_TO_EXISTING_SET", "REPLACE_EXISTING_SET"};
constexpr const char* selectorRestrictions[] = {"UPDATES_NOT_ALLOWED", "ADD_SINKS_TO_SET_ALLOWED",
                                                "ADD_REMOVE_SINKS_TO_SET_ALLOWED"};
constexpr const char* selectorStates[] = {"ENABLED_AND_UNKNOWN", "ENABLED_AND_INACTIVE",
                                          "ENABLED_AND_ACTIVE", "DISABLED"};
constexpr const char* retrievalErrors[] = {"MRE_NO_ERROR", "MRE_TIMED_OUT", "MRE_INVALID_PARAMS"};
constexpr const char* messageTypes[] = {"LIVE_STREAM", "RECORDED_STREAM",
                                        "DICTIONARY",  "DISPLAY",
                                        "TTS",         "BGM",
                                        "MIXED",       "NONE",
                                        "TEMPLATE",    "DISPLAY_TEMPLATE",
                                        "TTS_SAF",     "RECORDED_STREAM_SAF"};
constexpr const char* textEncodings[] = {"ISO_8859_1", "UTF_8"};
constexpr const char* announcementTypes[] = {
    "AT_LIVE",    "AT_STORED_DATA",    "AT_TEV",  "AT_DISPLAY_v0", "AT_TTS",
    "AT_BGM",     "AT_MIXED",          "AT_NONE", "AT_TEMPLATE",   "AT_DISPLAY_TEMPLATE",
    "AT_TTS_SAF", "AT_STORED_DATA_SAF"};
constexpr const char* announcementPriorityModes[] = {"APM_ABSOLUTE_PRIORITY",
                                                     "APM_RELATIVE_PRIORITY"};

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
std::string nameOf(PaTrigger::Type value) {
    return nameIn(triggerTypes, value);
}
std::string nameOf(PaTrigger::State value) {
    return nameIn(triggerStates, value);
}
std::string nameOf(PaTrigger::PRIORITY_MODE value) {
    return nameIn(priorityModes, value);
}
std::string nameOf(PaSelector::Type value) {
    return nameIn(selectorTypes, value);
}
std::string nameOf(PaSelector::Protection value) {
    return nameIn(selectorProtections, value);
}
std::string nameOf(PaSelector::Mode value) {
    return nameIn(selectorModes, value);
}
std::string nameOf(PaSelector::DynamicRestriction value) {
    return nameIn(selectorRestrictions, value);
}
std::string nameOf(PaSelector::State value) {
    return nameIn(selectorStates, value);
}
std::string nameOf(PAControllerObserver::MessageRetrievalError value) {
    return nameIn(retrievalErrors, value);
}
std::string nameOf(Message::Type value) {
    return nameIn(messageTypes, value);
}
std::string nameOf(Message::TextEncoding value) {
    return nameIn(textEncodings, value);
}
std::string nameOf(AnnouncementType value) {
    return nameIn(announcementTypes, value);
}
std::string nameOf(AnnouncementPriorityMode value) {
    return nameIn(announcementPriorityModes, value);
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

}  // namespace paclient
