// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "client/Calendar.h"
#include "simserver/SimTime.h"
#include "simserver/station/StationFile.h"

/// @file
/// Reads JSON objects by tables: one row for each member that an object may have.
///
///     constexpr Member<Zone> members[] = {{"id", required, zoneId<&Zone::id>}, ...};

namespace simserver {

/// A value of the file and its place there, as a JSON pointer.
struct Place {
    const nlohmann::json& value;
    std::string pointer;

    Place member(const std::string& name) const { return {value.at(name), pointer + "/" + name}; }
    Place element(std::size_t i) const { return {value.at(i), pointer + "/" + std::to_string(i)}; }

    [[noreturn]] void refuse(const std::string& why) const {
        throw ScenarioError((pointer.empty() ? "/" : pointer) + ": " + why);
    }
    void expect(bool right, const char* what) const {
        if (!right) {
            refuse("expected " + std::string(what) + ", found " + value.type_name());
        }
    }
};

constexpr bool required = true;
constexpr bool optional = false;

/// A member that an object of the file may have.
template <class Record>
struct Member {
    const char* name;
    bool isRequired;
    void (*take)(Record&, const Place&);
};

template <class Record, std::size_t N>
Record readObject(const Place& place, const Member<Record> (&members)[N]) {
    place.expect(place.value.is_object(), "an object");
    Record record;
    std::set<std::string> known;
    for (const Member<Record>& member : members) {
        known.insert(member.name);
        if (place.value.contains(member.name)) {
            member.take(record, place.member(member.name));
        } else if (member.isRequired) {
            place.refuse("\"" + std::string(member.name) + "\" is missing");
        }
    }
    for (const auto& entry : place.value.items()) {
        if (known.count(entry.key()) == 0) {
            place.member(entry.key()).refuse("unknown member");
        }
    }
    return record;
}

inline std::string readText(const Place& place) {
    place.expect(place.value.is_string(), "a text");
    auto value = place.value.get<std::string>();
    if (value.find('\0') != std::string::npos) {
        place.refuse("a text without NUL is expected");
    }
    return value;
}

/// Zone ids are sent in lists, whose readers drop the leading blanks of elements.
inline std::string readZoneId(const Place& place) {
    std::string id = readText(place);
    if (id.empty() || id.front() == ' ' || id.front() == '\t') {
        place.refuse("a zone id is neither empty nor does it begin with a blank");
    }
    return id;
}

template <class Limit>
double readNumber(const Place& place, Limit low, Limit high) {
    place.expect(place.value.is_number(), "a number");
    const auto value = place.value.get<double>();
    if (!(value >= low && value <= high)) {
        place.refuse("out of range, expected " + nlohmann::json(low).dump() + " to " +
                     nlohmann::json(high).dump());
    }
    return value;
}

template <class Read>
auto readList(const Place& place, Read read) {
    place.expect(place.value.is_array(), "a list");
    std::vector<decltype(read(place))> elements;
    for (std::size_t i = 0; i < place.value.size(); ++i) {
        elements.push_back(read(place.element(i)));
    }
    return elements;
}

/// A duration of up to a day.
inline SimTime readSeconds(const Place& place, double low) {
    constexpr double day = 86400.0;
    return std::chrono::round<SimTime>(std::chrono::duration<double>(readNumber(place, low, day)));
}

inline Interval readInterval(const Place& place) {
    if (!place.value.is_array() || place.value.size() != 2) {
        place.refuse("two times are expected, [from, to]");
    }
    return {readSeconds(place.element(0), 0.0), readSeconds(place.element(1), 0.0)};
}

/// @name What the rows of a table take
/// @{
template <auto Field, class Record>
void text(Record& record, const Place& place) {
    record.*Field = readText(place);
}

template <auto Field, class Record>
void zoneId(Record& record, const Place& place) {
    record.*Field = readZoneId(place);
}

template <auto Field, class Record>
void zoneIds(Record& record, const Place& place) {
    record.*Field = readList(place, readZoneId);
}

template <auto Field, class Record>
void flag(Record& record, const Place& place) {
    place.expect(place.value.is_boolean(), "true or false");
    record.*Field = place.value.get<bool>();
}

template <auto Field, int Low, int High, class Record>
void whole(Record& record, const Place& place) {
    place.expect(place.value.is_number_integer(), "a whole number");
    record.*Field = static_cast<int>(readNumber(place, Low, High));
}

template <auto Field, int Low, int High, class Record>
void decimal(Record& record, const Place& place) {
    record.*Field = readNumber(place, Low, High);
}

/// A duration of up to a day, in seconds.
template <auto Field, class Record>
void seconds(Record& record, const Place& place) {
    record.*Field = readSeconds(place, 0.001);
}

/// A list of intervals [from, to], in seconds.
template <auto Field, class Record>
void intervals(Record& record, const Place& place) {
    record.*Field = readList(place, readInterval);
}

/// A path that is relative to the folder of the file, see `loadStation`.
template <auto Field, class Record>
void filePath(Record& record, const Place& place) {
    record.*Field = readText(place);
    if ((record.*Field).empty()) {
        place.refuse("the name of a file is expected");
    }
}

template <auto Field, class Record>
void timeZone(Record& record, const Place& place) {
    record.*Field = readText(place);
    try {
        paclient::Calendar known(record.*Field);
    } catch (const std::runtime_error& unknown) {
        place.refuse(unknown.what());
    }
}

/// An object by the table `Members`.
template <auto Field, const auto& Members, class Record>
void object(Record& record, const Place& place) {
    record.*Field = readObject(place, Members);
}

/// A list of objects, each by the table `Members`.
template <auto Field, const auto& Members, class Record>
void objects(Record& record, const Place& place) {
    record.*Field =
        readList(place, [](const Place& element) { return readObject(element, Members); });
}
/// @}

}  // namespace simserver
