// SPDX-License-Identifier: Apache-2.0
#include <optional>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <string>
#include <utility>
#include <vector>

#include "client/Preview.h"
#include "client/confirmedOperations.h"
#include "python/binding.h"
#include "python/confirmed.h"
#include "python/recordClass.h"
#include "sdk/PAController.h"

namespace papython {

namespace {

using paclient::Wait;
using Zones = std::vector<std::string>;

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
    const auto defineMeter = [&module](const char* name, void (PAController::*call)(int),
                                       const char* text) {
        module.def(
            name,
            [call](int source) {
                requireConnection();
                const WithoutGil withoutGil;
                (gPaController.*call)(source);
            },
            py::arg("source_id"), text);
    };
    defineMeter("enable_level_meter", &PAController::enablePaSourceVUMeter,
                "Has the server report the level of a source's amplifier element, which is "
                "`source_id // 100`.");
    defineMeter("disable_level_meter", &PAController::disablePaSourceVUMeter, "Ends the reports.");
    module.def("own_uuid", paclient::ownUUID,
               "The UUID of this client, empty without a connection.");
}

void bindTriggerOperations(py::module_& module) {
    using Text = const std::string&;
    module.def(
        "create_software_trigger",
        [](int source, int priority, Text preChime, Text displayParameters) {
            requireConnection();
            const WithoutGil withoutGil;
            return gPaController.createSwPaTrigger(source, priority, preChime, displayParameters);
        },
        py::arg("source_id"), py::arg("priority"), py::arg("pre_chime") = "",
        py::arg("display_parameters") = "",
        "Creates a trigger of this client; its number, or 0 when a value is out of range.");
    module.def(
        "delete_software_trigger", [](int number) { gPaController.deleteSwPaTrigger(number); },
        py::call_guard<WithoutGil>(), py::arg("trigger_id"), "Deletes it, if there is one.");
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
