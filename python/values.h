// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <string>
#include <type_traits>
#include <vector>

#include "client/names.h"
#include "sdk/Gain.h"

/// @file
/// The library's values as Python has them: enumerations, texts, lists.

namespace papython {

namespace py = pybind11;

/// The members of an enumeration in Python by their numbers; lives as long as the process.
template <class Enumeration>
inline PyObject* enumerators = nullptr;

/// "PaSource.Type".
template <class Enumeration>
inline const char* enumerationName = nullptr;

/// The names that `paclient::nameOf` knows.
template <class Enumeration>
std::vector<std::string> namesOf() {
    std::vector<std::string> names;
    const auto next = [&names] {
        return paclient::nameOf(static_cast<Enumeration>(static_cast<int>(names.size())));
    };
    while (next() != std::to_string(names.size())) {
        names.push_back(next());
    }
    return names;
}

/// Makes an `enum.IntEnum` of the names, whose numbers count from 0.
template <class Enumeration>
py::object enumeration(const py::object& scope, const char* name,
                       const std::vector<std::string>& names = namesOf<Enumeration>()) {
    py::dict numbers;
    for (std::size_t number = 0; number < names.size(); ++number) {
        numbers[py::str(names[number])] = number;
    }
    const bool isNested = py::hasattr(scope, "__qualname__");
    const py::str place =
        isNested ? py::str("{}.{}").format(scope.attr("__qualname__"), name) : py::str(name);
    enumerationName<Enumeration> = PyUnicode_AsUTF8(place.inc_ref().ptr());  // never released
    py::object type = py::module_::import("enum").attr("IntEnum")(
        name, numbers, py::arg("module") = "publicaddress", py::arg("qualname") = place);
    py::dict members;
    for (const py::handle member : type) {
        members[member.attr("value")] = member;
    }
    enumerators<Enumeration> = members.release().ptr();
    scope.attr(name) = type;
    return type;
}

/// A text of the server need not be UTF-8: other bytes become U+FFFD.
inline py::object toPython(const std::string& text) {
    return py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
}

inline py::object toPython(const std::map<std::string, std::string>& texts) {
    py::dict dict;
    for (const auto& [key, text] : texts) {
        dict[toPython(key)] = toPython(text);
    }
    return dict;
}

template <class Value>
py::object toPython(const std::vector<Value>& values);

/// A value as Python has it. One of an enumeration that has no name is a number.
template <class Value>
py::object toPython(const Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        const py::int_ number(static_cast<int>(value));
        PyObject* const known = PyDict_GetItem(enumerators<Value>, number.ptr());
        return known == nullptr ? py::object(number) : py::reinterpret_borrow<py::object>(known);
    } else if constexpr (std::is_same_v<Value, Gain>) {
        return py::float_(value.getLevel());
    } else {
        return py::cast(value);
    }
}

template <class Value>
py::object toPython(const std::vector<Value>& values) {
    py::list list;
    for (const Value& value : values) {
        list.append(toPython(value));
    }
    return list;
}

}  // namespace papython
