// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pybind11/pybind11.h>

/// @file
/// The parts of the module, in the order in which they are made.

namespace papython {

void bindRecords(pybind11::module_& module);
void bindChanges(pybind11::module_& module);
void bindConnection(pybind11::module_& module);
void bindOperations(pybind11::module_& module);
void bindSchedules(pybind11::module_& module);
void bindSimulatedServer(pybind11::module_& module);
void bindAnnouncements(pybind11::module_& module);

}  // namespace papython
