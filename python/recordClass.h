#pragma once

#include <cstddef>
#include <map>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <string>
#include <type_traits>
#include <vector>

#include "client/describe.h"
#include "client/names.h"
#include "sdk/Gain.h"

/// @file
/// Classes of Python that are made from the descriptions of records: an attribute for each member,
/// by its name.

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
void enumeration(const py::object& scope, const char* name,
                 const std::vector<std::string>& names = namesOf<Enumeration>()) {
    py::dict numbers;
    for (std::size_t number = 0; number < names.size(); ++number) {
        numbers[py::str(names[number])] = number;
    }
    const bool isNested = py::hasattr(scope, "__qualname__");
    const py::str place =
        isNested ? py::str("{}.{}").format(scope.attr("__qualname__"), name) : py::str(name);
    enumerationName<Enumeration> = PyUnicode_AsUTF8(place.inc_ref().ptr());  // never released
    const py::object type = py::module_::import("enum").attr("IntEnum")(
        name, numbers, py::arg("module") = "publicaddress", py::arg("qualname") = place);
    py::dict members;
    for (const py::handle member : type) {
        members[member.attr("value")] = member;
    }
    enumerators<Enumeration> = members.release().ptr();
    scope.attr(name) = type;
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

template <class Record>
py::dict asDict(const Record& record);

/// The same with records as dictionaries.
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
