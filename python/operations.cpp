// SPDX-License-Identifier: Apache-2.0
#include <optional>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <string>
#include <utility>
#include <vector>

#include "client/Preview.h"
#include "client/confirmedOperations.h"
#include "client/schedules.h"
#include "python/binding.h"
#include "python/recordClass.h"
#include "python/waiting.h"
#include "sdk/PAController.h"

namespace paclient {

template <>
struct Members<Confirmation> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("state", record.state);
        visit("reason", record.reason);
        visit("holds", record.holds());
        visit("isUnknown", record.isUnknown());
    }
};

}  // namespace paclient

namespace papython {

namespace {

using paclient::Wait;
using Zones = std::vector<std::string>;

/// Results of more than a confirmation are tuples that begin with it.
paclient::Confirmation resultOf(paclient::Confirmation result) {
    return result;
}
auto resultOf(paclient::Activation result) {
    return std::pair(result.confirmation, std::move(result.announcement));
}
auto resultOf(paclient::StoppedRecording result) {
    return std::pair(result.confirmation, std::move(result.path));
}
auto resultOf(const paclient::NewSchedule& result) {
    return std::pair(result.confirmation, result.id);
}
auto resultOf(paclient::RenderedPreview result) {
    return std::pair(result.confirmation, std::move(result.uri));
}

/// An operation with these parameters, and a wait after them.
template <class... Parameters>
struct Confirmed {
    /// Makes a function of it, which has the limit of the wait as its last parameter.
    template <class Result, class... Names>
    static void define(py::module_& module, const char* name,
                       Result (*operation)(Parameters..., const Wait&), const char* text,
                       const Names&... names) {
        module.def(
            name,
            [operation](std::decay_t<Parameters>... arguments, const Timeout& timeout) {
                return resultOf(waiting(
                    timeout, [&](const Wait& wait) { return operation(arguments..., wait); }));
            },
            names..., py::arg("timeout") = defaultSeconds, text);
    }
};

void bindDevices(py::module_& module) {
    Confirmed<const PaSink&, double, bool, bool>::define(
        module, "set_gain", paclient::setGain, "Sets the output gain of a sink, in dB.",
        py::arg("sink"), py::arg("level"), py::arg("persistent") = false,
        py::arg("delay_persistence") = false);
    Confirmed<const PaSource&, double, bool, bool>::define(
        module, "set_gain", paclient::setGain, "Sets the input gain of a source, in dB.",
        py::arg("source"), py::arg("level"), py::arg("first") = false, py::arg("second") = false);
    Confirmed<const PaSink&, bool>::define(module, "set_monitoring", paclient::setMonitoring,
                                           "Switches the monitoring of a sink.", py::arg("sink"),
                                           py::arg("enable"));
    Confirmed<const PaSink&, bool>::define(module, "reset", paclient::reset,
                                           "Resets the device of a sink.", py::arg("sink"),
                                           py::arg("until_back") = true);
}

void bindSourceOperations(py::module_& module) {
    Confirmed<const PaSource&, const Zones&, bool>::define(
        module, "attach_zones",
        +[](const PaSource& source, const Zones& zones, bool replace, const Wait& wait) {
            const auto mode =
                replace ? PaSource::REPLACE_EXISTING_SET : PaSource::ADD_TO_EXISTING_SET;
            return paclient::attachZones(source, zones, mode, wait);
        },
        "Attaches zones to a source, beside or in place of those before.", py::arg("source"),
        py::arg("zones"), py::arg("replace") = false);
    Confirmed<const PaSource&, const Zones&>::define(module, "detach_zones", paclient::detachZones,
                                                     "Detaches zones from a source.",
                                                     py::arg("source"), py::arg("zones"));
    Confirmed<const PaSource&>::define(module, "detach_all_zones", paclient::detachAllZones,
                                       "Detaches every zone from a source.", py::arg("source"));
    Confirmed<int>::define(module, "take_lock", paclient::takeLock,
                           "Takes the lock of a source for this client.", py::arg("source_id"));
    Confirmed<int>::define(module, "release_lock", paclient::releaseLock, "Releases it.",
                           py::arg("source_id"));
    module.def("own_uuid", paclient::ownUUID,
               "The UUID of this client, empty without a connection.");
}

void bindTriggerOperations(py::module_& module) {
    using Text = const std::string&;
    const py::call_guard<WithoutGil> unlocked;
    module.def(
        "create_software_trigger",
        [](int source, int priority, Text preChime, Text displayParameters) {
            return gPaController.createSwPaTrigger(source, priority, preChime, displayParameters);
        },
        unlocked, py::arg("source_id"), py::arg("priority"), py::arg("pre_chime") = "",
        py::arg("display_parameters") = "",
        "Creates a trigger of this client; its number, or 0 when a value is out of range.");
    module.def(
        "delete_software_trigger", [](int number) { gPaController.deleteSwPaTrigger(number); },
        unlocked, py::arg("trigger_id"));
    Confirmed<const PaSWTrigger&>::define(
        module, "activate", paclient::activate,
        "Starts the announcement of a trigger; the result, and its record or None.",
        py::arg("trigger"));
    Confirmed<const PaSWTrigger&, std::optional<int>>::define(
        module, "deactivate", paclient::deactivate,
        "Stops it; `announcement` is the number of its record.", py::arg("trigger"),
        py::arg("announcement") = py::none());
}

void bindServerFiles(py::module_& module) {
    using Text = const std::string&;
    Confirmed<Text>::define(module, "start_recording", paclient::startRecording,
                            "Starts a recording into a file of the server.", py::arg("path"));
    Confirmed<>::define(module, "stop_recording", paclient::stopRecording,
                        "Stops it; the result, and the path of the file.");
    Confirmed<Text>::define(module, "preview_recording", paclient::previewRecording,
                            "Plays a recording back; only a refusal is reported.", py::arg("path"));
    Confirmed<Text>::define(module, "delete_recording", paclient::deleteRecording,
                            "Deletes a recording; only a refusal is reported.", py::arg("path"));
    Confirmed<Text, const TTSVocalizer&>::define(
        module, "render_preview", paclient::renderPreview,
        "Has the server render a text; the result, and where the audio can be fetched.",
        py::arg("text"), py::arg("voice"));
    Confirmed<const ScheduleDefinition&>::define(module, "put_schedule", paclient::putSchedule,
                                                 "Has the server keep a schedule under its number.",
                                                 py::arg("schedule"));
    Confirmed<const ScheduleDefinition&>::define(
        module, "create_schedule", paclient::createSchedule,
        "Has the server keep a schedule; the result, and the number that it has given it.",
        py::arg("schedule"));
    Confirmed<int>::define(module, "remove_schedule", paclient::removeSchedule,
                           "Has the server delete a schedule.", py::arg("schedule_id"));
}

}  // namespace

void bindOperations(py::module_& module) {
    using State = paclient::Confirmation::State;
    recordClass<paclient::Confirmation>(
        module, "Confirmation", "The outcome of an operation; true when its effect is there.",
        Nested<State>{"State",
                      {"DONE", "AS_BEFORE", "REFUSED", "NOT_SENT", "CONNECTION_LOST", "TIMED_OUT"}})
        .def("__bool__", &paclient::Confirmation::holds);
    bindDevices(module);
    bindSourceOperations(module);
    bindTriggerOperations(module);
    bindServerFiles(module);
}

}  // namespace papython
