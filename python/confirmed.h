// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <type_traits>
#include <utility>

#include "client/Announcement.h"
#include "client/Preview.h"
#include "client/confirmedOperations.h"
#include "client/describe.h"
#include "client/schedules.h"
#include "python/ServerConnection.h"

/// @file
/// Confirmed operations as functions of Python.

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

/// Results of more than a confirmation are tuples that begin with it.
inline paclient::Confirmation resultOf(const paclient::Confirmation& result) {
    return result;
}
inline auto resultOf(paclient::Activation result) {
    return std::pair(result.confirmation, std::move(result.announcement));
}
inline auto resultOf(paclient::StoppedRecording result) {
    return std::pair(result.confirmation, std::move(result.path));
}
inline auto resultOf(const paclient::NewSchedule& result) {
    return std::pair(result.confirmation, result.id);
}
inline auto resultOf(paclient::RenderedPreview result) {
    return std::pair(result.confirmation, std::move(result.uri));
}
inline auto resultOf(paclient::Cancellation result) {
    return std::pair(result.confirmation, std::move(result.ended));
}

/// An operation with these parameters, and a wait after them.
template <class... Parameters>
struct Confirmed {
    /// Makes a function of it, which has the limit of the wait as its last parameter.
    template <class Result, class... Names>
    static void define(py::module_& module, const char* name,
                       Result (*operation)(Parameters..., const paclient::Wait&), const char* text,
                       const Names&... names) {
        module.def(
            name,
            [operation](std::decay_t<Parameters>... arguments, const Timeout& timeout) {
                requireConnection();
                return resultOf(waiting(timeout, [&](const paclient::Wait& wait) {
                    return operation(arguments..., wait);
                }));
            },
            names..., py::arg("timeout") = defaultSeconds, text);
    }
};

}  // namespace papython
