// SPDX-License-Identifier: Apache-2.0
#include "simserver/station/StationChecks.h"

namespace simserver {

namespace {

using Ids = std::set<int>;
using ZoneIds = std::set<std::string>;

/// Refuses a value of `member` that two elements of a list share.
/// @return the values
template <class Key, class Record>
std::set<Key> distinct(const std::vector<Record>& records, Key Record::*field, const Place& root,
                       const char* list, const char* member = "id") {
    std::set<Key> seen;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (!seen.insert(records[i].*field).second) {
            const Place place = root.member(list).element(i).member(member);
            // cppcheck-suppress danglingTemporaryLifetime ; a place refers to the document only
            place.refuse(place.value.dump() + " is given twice");
        }
    }
    return seen;
}

/// Calls `check(record, place)` for each element of a list.
template <class Record, class Check>
void forEach(const std::vector<Record>& records, const Place& root, const char* list, Check check) {
    for (std::size_t i = 0; i < records.size(); ++i) {
        check(records[i], root.member(list).element(i));
    }
}

/// Refuses an id in the list `member` of an object when there is no such zone.
void refuseUnknown(const std::vector<std::string>& ids, const ZoneIds& zones, const Place& object,
                   const char* member) {
    for (std::size_t i = 0; i < ids.size(); ++i) {
        if (zones.count(ids[i]) == 0) {
            object.member(member).element(i).refuse("unknown zone \"" + ids[i] + "\"");
        }
    }
}

/// Refuses the id in `member` of an object when there is no such thing. 0 is no id.
void refuseUnknown(int id, const Ids& ids, const Place& object, const char* member,
                   const char* what) {
    if (id != 0 && ids.count(id) == 0) {
        object.member(member).refuse("unknown " + std::string(what));
    }
}

/// Refuses a timetable that is not in ascending order, or that is not over when it begins again.
void checkTimetable(const Trigger& trigger, const Place& place) {
    SimTime last{-1};
    for (std::size_t i = 0; i < trigger.timetable.size(); ++i) {
        const Interval& interval = trigger.timetable[i];
        if (interval.from <= last || interval.to <= interval.from) {
            place.member("timetable").element(i).refuse("times are expected in ascending order");
        }
        last = interval.to;
    }
    if (trigger.repeatEvery != SimTime{0} && trigger.repeatEvery <= last) {
        place.member("repeatEvery").refuse("the timetable is not over by then");
    }
}

}  // namespace

void checkStation(const Station& station, const Place& root) {
    const ZoneIds zones = distinct(station.zones, &Zone::id, root, "zones");
    const Ids sinks = distinct(station.sinks, &Sink::id, root, "sinks");
    const Ids sources = distinct(station.sources, &Source::id, root, "sources");
    const Ids selectors = distinct(station.selectors, &Selector::id, root, "selectors");
    distinct(station.triggers, &Trigger::id, root, "triggers");
    distinct(station.voices, &Voice::port, root, "voices", "port");
    distinct(station.dictionary, &DictionaryItem::item, root, "dictionary", "item");
    distinct(station.recordings, &Recording::path, root, "recordings", "path");

    forEach(station.sources, root, "sources", [&](const auto& source, const Place& place) {
        refuseUnknown(source.attachedZones, zones, place, "attachedZones");
    });
    forEach(station.sinks, root, "sinks", [&](const auto& sink, const Place& place) {
        refuseUnknown(sink.zones, zones, place, "zones");
        refuseUnknown(sink.monitoringZones, zones, place, "monitoringZones");
        refuseUnknown(sink.monitoringSinkId, sinks, place, "monitoringSinkId", "sink");
    });
    forEach(station.selectors, root, "selectors", [&](const auto& selector, const Place& place) {
        refuseUnknown(selector.source, sources, place, "source", "source");
        refuseUnknown(selector.zones, zones, place, "zones");
    });
    forEach(station.triggers, root, "triggers", [&](const auto& trigger, const Place& place) {
        refuseUnknown(trigger.source, sources, place, "source", "source");
        refuseUnknown(trigger.selector, selectors, place, "selector", "selector");
        checkTimetable(trigger, place);
    });
    if (root.value.contains("microphone") && root.member("microphone").value.size() > 1) {
        root.member("microphone").refuse("either \"file\" or \"tone\" is expected");
    }
}

}  // namespace simserver
