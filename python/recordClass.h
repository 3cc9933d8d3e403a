// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <pybind11/pybind11.h>
#include <string>
#include <type_traits>
#include <vector>

#include "client/describe.h"
#include "python/values.h"
#include "sdk/Gain.h"

/// @file
/// Classes of Python that are made from the descriptions of records: an attribute for each member,
/// by its name.

namespace papython {

namespace py = pybind11;

template <class Record>
py::dict asDict(const Record& record);

/// A value as Python has it, with records as dictionaries.
template <class Value>
py::object plainValue(const Value& value) {
    if constexpr (paclient::isDescribed<Value>) {
        return asDict(value);
    } else {
        return toPython(value);
    }
}

template <class Record>
py::object plainValue(const std::vector<Record>& records) {
    py::list list;
    for (const Record& record : records) {
        list.append(plainValue(record));
    }
    return list;
}

template <class Record>
py::dict asDict(const Record& record) {
    py::dict dict;
    paclient::forEachMember(record, [&dict](const paclient::MemberInfo& info, const auto& value) {
        dict[info.name] = plainValue(value);
    });
    return dict;
}

/// "PaSourceLockStatus(sourceId=3, lockedUUID='')".
template <class Record>
std::string textOf(const py::object& object) {
    std::string text;
    paclient::forEachMember(py::cast<const Record&>(object),
                            [&text](const paclient::MemberInfo& info, const auto& value) {
                                text += (text.empty() ? "" : ", ") + std::string(info.name) + "=" +
                                        py::cast<std::string>(py::repr(toPython(value)));
                            });
    return py::cast<std::string>(py::type::of(object).attr("__name__")) + "(" + text + ")";
}

/// An enumeration inside the class of a record.
template <class Enumeration>
struct Nested {
    const char* name;
    std::vector<std::string> names = namesOf<Enumeration>();
};

/// The type of a member in a stub: "list[str]".
template <class Value>
struct StubType {
    static std::string name() {
        if constexpr (std::is_enum_v<Value>) {
            return enumerationName<Value> + std::string(" | int");
        } else if constexpr (paclient::isDescribed<Value>) {
            return py::cast<std::string>(py::type::of<Value>().attr("__name__"));
        } else if constexpr (std::is_same_v<Value, bool>) {
            return "bool";
        } else if constexpr (std::is_integral_v<Value>) {
            return "int";
        } else if constexpr (std::is_same_v<Value, double> || std::is_same_v<Value, Gain>) {
            return "float";
        } else {
            static_assert(std::is_same_v<Value, std::string>, "a type that has no name here");
            return "str";
        }
    }
};
template <class Value>
struct StubType<std::vector<Value>> {
    static std::string name() { return "list[" + StubType<Value>::name() + "]"; }
};
template <>
struct StubType<std::map<std::string, std::string>> {
    static std::string name() { return "dict[str, str]"; }
};

/// Whether Python may make such records and change their members.
template <class Record>
inline constexpr bool isEditable = false;

template <class Record>
void setMember(Record& record, const std::string& name, const py::handle& value) {
    bool isKnown = false;
    paclient::forEachMember(record, [&](const paclient::MemberInfo& info, auto& member) {
        using Member = std::decay_t<decltype(member)>;
        if (name != info.name) {
            return;
        }
        isKnown = true;
        try {
            if constexpr (std::is_enum_v<Member>) {
                member = static_cast<Member>(py::cast<int>(value));
            } else {
                member = py::cast<Member>(value);
            }
        } catch (const py::cast_error&) {
            throw py::type_error("'" + name + "' cannot be " +
                                 py::cast<std::string>(py::repr(value)));
        }
    });
    if (!isKnown) {
        throw py::type_error("there is no member '" + name + "'");
    }
}

/// A class with an attribute for each member that its base has not, whose text is its type. Records
/// compare by their members.
template <class Record, class... Base, class... Enumeration>
py::class_<Record, Base...> recordClass(const py::module_& module, const char* name,
                                        const char* text,
                                        const Nested<Enumeration>&... enumerations) {
    py::class_<Record, Base...> type(module, name, text);
    (enumeration<Enumeration>(type, enumerations.name, enumerations.names), ...);
    if constexpr (isEditable<Record>) {
        type.def(py::init([](const py::kwargs& members) {
            Record record;
            for (const auto& [member, value] : members) {
                setMember(record, py::cast<std::string>(member), value);
            }
            return record;
        }));
    }
    std::size_t count = 0;
    const Record blank{};
    paclient::forEachMember(blank, [&type, &count](const paclient::MemberInfo& info,
                                                   const auto& blankValue) {
        const std::string stubType = StubType<std::decay_t<decltype(blankValue)>>::name();
        const std::size_t place = count++;
        if (py::hasattr(type, info.name)) {
            return;
        }
        const py::cpp_function get(
            [place](const Record& record) {
                py::object result;
                std::size_t at = 0;
                paclient::forEachMember(record, [&](const auto& /*info*/, const auto& value) {
                    if (at++ == place) {
                        result = toPython(value);
                    }
                });
                return result;
            },
            py::is_method(type));
        if constexpr (isEditable<Record>) {
            type.def_property(info.name, get,
                              py::cpp_function(
                                  [member = info.name](Record& record, const py::object& value) {
                                      setMember(record, member, value);
                                  },
                                  py::is_method(type)),
                              stubType.c_str());
        } else {
            type.def_property_readonly(info.name, get, stubType.c_str());
        }
    });
    type.def("__repr__", textOf<Record>);
    type.def("as_dict", asDict<Record>,
             "The members by name; records in it are dictionaries, too.");
    type.def(
        "__eq__", [](const Record& a, const Record& b) { return asDict(a).equal(asDict(b)); },
        py::is_operator());
    return type;
}

}  // namespace papython
