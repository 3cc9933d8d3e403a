// SPDX-License-Identifier: Apache-2.0
#include "client/schedules.h"

#include <pybind11/pybind11.h>
#include <stdexcept>
#include <string>

#include "client/scheduleJson.h"
#include "python/WithoutGil.h"
#include "python/binding.h"
#include "python/confirmed.h"
#include "python/recordClass.h"

namespace paclient {

template <>
struct Members<ImportResult::Failed> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("entry", record.entry);
        visit("reason", record.reason);
    }
};

template <>
struct Members<ImportResult> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("imported", record.imported);
        visit("failed", record.failed);
        visit("unknownEntry", record.unknownEntry.value_or(0));
        visit("unknown", record.unknown);
    }
};

}  // namespace paclient

namespace papython {

namespace {

using paclient::ImportResult;

std::string exportSchedules() {
    const WithoutGil withoutGil;
    return paclient::jsonLines(paclient::schedulesAsJson());
}

ImportResult importSchedules(const std::string& text, bool replace, const Timeout& timeout) {
    requireConnection();
    return waiting(timeout, [&](const paclient::Wait& wait) {
        paclient::Json list;
        try {
            list = paclient::parseScheduleList(text);
        } catch (const std::invalid_argument& fault) {
            throw std::invalid_argument(std::string("the text ") + fault.what());
        }
        ImportResult result;
        paclient::importSchedules(paclient::readSchedules(list), replace, wait, {}, result);
        return result;
    });
}

}  // namespace

void bindSchedules(py::module_& module) {
    Confirmed<const ScheduleDefinition&>::define(module, "put_schedule", paclient::putSchedule,
                                                 "Has the server keep a schedule under its number.",
                                                 py::arg("schedule"));
    Confirmed<const ScheduleDefinition&>::define(
        module, "create_schedule", paclient::createSchedule,
        "Has the server keep a schedule; the result, and the number that it has given it.",
        py::arg("schedule"));
    Confirmed<int>::define(module, "remove_schedule", paclient::removeSchedule,
                           "Has the server delete a schedule.", py::arg("schedule_id"));
    module.def("export_schedules", exportSchedules,
               "All schedules as a JSON text, which `import_schedules` reads.");
    recordClass<ImportResult::Failed>(module, "FailedEntry",
                                      "An entry of an import that the server does not keep.");
    recordClass<ImportResult>(
        module, "ImportResult",
        "The outcome of an import; true when the server keeps every entry. It has ended at "
        "`unknownEntry`, when that is not 0, with the outcome `unknown`.")
        .def("__bool__", [](const ImportResult& result) {
            return result.failed.empty() && !result.unknownEntry;
        });
    module.def("import_schedules", importSchedules, py::arg("text"), py::arg("replace") = false,
               py::arg("timeout") = defaultSeconds,
               "Has the server keep the schedules of a JSON text, one after the other; `timeout` "
               "is that of each.");
}

}  // namespace papython
