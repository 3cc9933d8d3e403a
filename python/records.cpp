// SPDX-License-Identifier: Apache-2.0
#include "client/records.h"

#include <algorithm>
#include <pybind11/pybind11.h>
#include <string>
#include <utility>
#include <variant>

#include "client/resources.h"
#include "python/WithoutGil.h"
#include "python/binding.h"
#include "python/recordClass.h"
#include "sdk/PAController.h"

namespace papython {

template <>
inline constexpr bool isEditable<TTSVocalizer> = true;
template <>
inline constexpr bool isEditable<ScheduleDefinition> = true;

namespace {

void bindSources(const py::module_& module) {
    recordClass<PaSource>(module, "PaSource", "An audio input.", Nested<PaSource::Type>{"Type"},
                          Nested<PaSource::AttachState>{"AttachState"},
                          Nested<PaSource::BroadcastType>{"BroadcastType"},
                          Nested<PaSource::HealthState>{"HealthState"})
        .def("attached_zones", &PaSource::getAttachedPaZones, py::call_guard<WithoutGil>(),
             "The ids of the zones that are attached now.");
    recordClass<PaSourceLockStatus>(module, "PaSourceLockStatus", "Who holds a source's lock.");
    recordClass<paclient::SourceLock, PaSourceLockStatus>(module, "SourceLock",
                                                          "The same, with the holder in words.");
}

void bindSinks(const py::module_& module) {
    recordClass<PaSink>(
        module, "PaSink", "An audio output.", Nested<PaSink::Type>{"Type"},
        Nested<PaSink::State>{"State"}, Nested<PaSink::AnnouncementType>{"AnnouncementType"},
        Nested<PaSink::HealthState>{"HealthState"}, Nested<PaSink::BroadcastType>{"BroadcastType"},
        Nested<PaSink::MuteState>{"MuteState"});
    recordClass<PaZone>(module, "PaZone", "A named area.")
        .def("members", &PaZone::getMembers, py::call_guard<WithoutGil>(),
             "The sinks of the zone and its sub-zones.");
}

void bindTriggers(const py::module_& module) {
    recordClass<PaTrigger>(module, "PaTrigger", "What starts an announcement.",
                           Nested<PaTrigger::Type>{"Type"}, Nested<PaTrigger::State>{"State"},
                           Nested<PaTrigger::PRIORITY_MODE>{"PRIORITY_MODE"});
    recordClass<paclient::AnyTrigger, PaTrigger>(module, "AnyTrigger", "A trigger of either kind.");
    recordClass<PaSWTrigger>(module, "PaSWTrigger", "A trigger that this client has created.");
    recordClass<PaSelector>(
        module, "PaSelector", "What selects target zones.", Nested<PaSelector::Type>{"Type"},
        Nested<PaSelector::Protection>{"Protection"}, Nested<PaSelector::Mode>{"Mode"},
        Nested<PaSelector::DynamicRestriction>{"DynamicRestriction"},
        Nested<PaSelector::State>{"State"});
}

void bindSpeech(const py::module_& module) {
    recordClass<TTSVocalizer>(module, "TTSVocalizer",
                              "A voice; in a schedule a text to be spoken with it.",
                              Nested<Message::TextEncoding>{"TextEncoding"});
    recordClass<TTSDictionary>(module, "TTSDictionary", "A text that was rendered to audio.");
}

void bindAnnouncementRecords(const py::module_& module) {
    enumeration<Message::Type>(module, "MessageType").doc() = "What a message plays or displays.";
    enumeration<AnnouncementType>(module, "AnnouncementType").doc() =
        "What a schedule or a sink plays or displays.";
    enumeration<AnnouncementPriorityMode>(module, "AnnouncementPriorityMode").doc() =
        "How a priority level is meant: as it is, or as an offset to the level of the server.";
    recordClass<AnnouncementRequest>(module, "AnnouncementRequest",
                                     "A part of an announcement that is active at the server.");
    recordClass<ScheduleDefinition>(module, "ScheduleDefinition",
                                    "An announcement that the server plays by itself.");
    recordClass<paclient::ScheduleEntry, ScheduleDefinition>(module, "ScheduleEntry",
                                                             "A schedule, with texts for people.");
}

/// "tts_items": what has a name in the list of resources, as a function.
std::string functionName(std::string name) {
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

template <class Record>
void bindResource(py::module_& module, const paclient::Resource<Record>& kind) {
    module.def(functionName(kind.many).c_str(), kind.all, py::call_guard<WithoutGil>(),
               ("The " + std::string(kind.many) + " that are known now.").c_str());
    module.def(("find_" + functionName(kind.one)).c_str(),
               [&kind](const std::variant<int, std::string>& wanted) {
                   const auto* const number = std::get_if<int>(&wanted);
                   const WithoutGil withoutGil;
                   return findOne(kind, number != nullptr ? std::to_string(*number)
                                                          : std::get<std::string>(wanted));
               },
               py::arg("wanted"),
               ("The " + std::string(kind.one) + " with this number, label or name.").c_str());
}

}  // namespace

void bindRecords(py::module_& module) {
    bindSpeech(module);
    bindSources(module);
    bindSinks(module);
    bindTriggers(module);
    bindAnnouncementRecords(module);
    bindResource(module, paclient::sources);
    bindResource(module, paclient::sinks);
    bindResource(module, paclient::zones);
    bindResource(module, paclient::voices);
    bindResource(module, paclient::announcements);
    bindResource(module, paclient::triggers);
    bindResource(module, paclient::selectors);
    bindResource(module, paclient::schedules);
    bindResource(module, paclient::ttsItems);
    bindResource(module, paclient::locks);
    module.def(
        "software_triggers", [] { return gPaController.getSwPaTriggers(); },
        py::call_guard<WithoutGil>(), "The triggers that this client has created.");
}

}  // namespace papython
