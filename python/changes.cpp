// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <optional>
#include <pybind11/pybind11.h>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "client/ChangeStream.h"
#include "client/records.h"
#include "python/binding.h"
#include "python/changeMembers.h"
#include "python/recordClass.h"
#include "python/waiting.h"

namespace papython {

namespace {

using paclient::Change;
using paclient::ChangeKinds;
using paclient::ChangePtr;

/// What Python reads of a change.
struct ReadChange {
    const ChangePtr change;
};

// The key of a resource in its updates and deletions; nothing of another change.

py::object keyOf(const PaZone& zone) {
    return toPython(zone.id);
}
py::object keyOf(const ScheduleDefinition& schedule) {
    return py::int_(schedule.Id);
}
template <class Record>
py::object keyOf(const Record& record) {
    return py::int_(record.id);
}
template <class Record>
py::object keyOfChange(const paclient::Updated<Record>& updated) {
    return keyOf(updated.record);
}
template <class Record>
py::object keyOfChange(const paclient::Deleted<Record>& deleted) {
    return toPython(deleted.id);
}
py::object keyOfChange(const paclient::Deleted<AnnouncementRequest>& deleted) {
    return keyOf(deleted.record);
}
py::object keyOfChange(const paclient::Deleted<ScheduleDefinition>& deleted) {
    return keyOf(deleted.record);
}
template <class Other>
py::object keyOfChange(const Other& /*change*/) {
    return py::none();
}

// The record of an update, and of a deletion that has one; else what has happened.

template <class Record>
py::object recordOf(const paclient::Updated<Record>& updated) {
    return py::cast(updated.record);
}
template <class Record>
py::object recordOf(const paclient::Deleted<Record>& /*deleted*/) {
    return py::none();
}
py::object recordOf(const paclient::Deleted<AnnouncementRequest>& deleted) {
    return py::cast(deleted.record);
}
py::object recordOf(const paclient::Deleted<ScheduleDefinition>& deleted) {
    return py::cast(deleted.record);
}
template <class Other>
py::object recordOf(const Other& change) {
    return py::cast(change);
}

template <std::size_t... places>
std::vector<std::string> eventNames(std::index_sequence<places...> /*all*/) {
    return {paclient::eventName(Change(std::in_place_index<places>))...};
}

/// Of each kind of change, in order.
std::vector<std::string> eventNames() {
    return eventNames(std::make_index_sequence<std::variant_size_v<Change>>());
}

ChangeKinds kindsOf(const std::optional<std::vector<std::string>>& events) {
    if (!events) {
        return paclient::allKinds();
    }
    const std::vector<std::string> names = eventNames();
    ChangeKinds kinds;
    for (const std::string& event : *events) {
        const auto found = std::find(names.begin(), names.end(), event);
        if (found == names.end()) {
            throw std::invalid_argument("there is no event '" + event + "'");
        }
        kinds.set(static_cast<std::size_t>(found - names.begin()));
    }
    return kinds;
}

/// A subscription, and how long a loop over it waits for each change.
struct TimedSubscription {
    TimedSubscription(const std::optional<std::vector<std::string>>& events, Timeout loopTimeout,
                      std::size_t maxBytes)
        : subscription(kindsOf(events), maxBytes), timeout(loopTimeout) {}

    std::optional<ReadChange> next(const Timeout& limit) {
        ChangePtr change =
            waiting(limit, [this](const paclient::Wait& wait) { return subscription.next(wait); });
        return change == nullptr ? std::nullopt : std::optional(ReadChange{std::move(change)});
    }

    ReadChange nextOfLoop() {
        if (auto change = next(timeout)) {
            return *change;
        }
        throw py::stop_iteration();
    }

    paclient::Subscription subscription;
    const Timeout timeout;
};

void bindRecordsOfChanges(const py::module_& module) {
    recordClass<paclient::LockChange>(module, "LockChange", "Another holder of a source's lock.");
    recordClass<paclient::AttachedZonesReport>(module, "AttachedZonesReport",
                                               "The zones of a source were reported.");
    recordClass<paclient::Retrieval>(module, "Retrieval", "A rendered text, or why there is none.",
                                     Nested<PAControllerObserver::MessageRetrievalError>{"Error"});
    recordClass<palink::Refusal>(module, "Refusal", "The server has refused an operation.");
    recordClass<palink::LevelReading>(module, "LevelReading", "A level in dB.");
    recordClass<palink::ConnectionChange>(
        module, "ConnectionChange", "Another state of the connection.",
        Nested<palink::ConnectionChange::State>{
            "State", {"CONNECTED", "SYNCED", "DISCONNECTED", "STOPPED"}});
    recordClass<pa::DroppedOperation>(
        module, "DroppedOperation", "An operation that was not sent.",
        Nested<pa::DroppedOperation::Reason>{
            "Reason", {"QUEUE_FULL", "WAITED_TOO_LONG", "STOPPED", "REFUSED", "UNLISTED"}});
    recordClass<paclient::SentOperation>(module, "SentOperation", "An operation was sent.");
    recordClass<paclient::Lost>(module, "Lost", "Changes that were not read in time.");
}

}  // namespace

void bindChanges(py::module_& module) {
    bindRecordsOfChanges(module);
    module.attr("EVENTS") = py::tuple(py::cast(eventNames()));
    py::class_<ReadChange>(module, "Change", "What has changed.")
        .def_property_readonly(
            "event", [](const ReadChange& read) { return paclient::eventName(*read.change); },
            "One of EVENTS.")
        .def_property_readonly(
            "key",
            [](const ReadChange& read) {
                return std::visit([](const auto& change) { return keyOfChange(change); },
                                  *read.change);
            },
            "The number or name of the resource; None of what is no update or deletion.")
        .def_property_readonly(
            "record",
            [](const ReadChange& read) {
                return std::visit([](const auto& change) { return recordOf(change); },
                                  *read.change);
            },
            "The record, or what has happened; None of a deletion that reports the key only.");
    py::class_<TimedSubscription>(
        module, "Subscription",
        "Reads every change from its construction on. A loop over it ends when no change has come "
        "for `timeout` seconds.")
        .def(py::init<std::optional<std::vector<std::string>>, Timeout, std::size_t>(),
             py::arg("events") = py::none(), py::arg("timeout") = py::none(),
             py::arg("max_bytes") = paclient::Subscription::defaultMaxBytes)
        .def("next", &TimedSubscription::next, py::arg("timeout") = defaultSeconds,
             "The oldest change, or None when none has come in time.")
        .def("__iter__", [](const py::object& self) { return self; })
        .def("__next__", &TimedSubscription::nextOfLoop)
        .def(
            "fileno",
            [](const TimedSubscription& self) { return self.subscription.fileDescriptor(); },
            "A descriptor that is readable while changes wait: do not read or close it.")
        .def_property_readonly(
            "waiting", [](const TimedSubscription& self) { return self.subscription.waiting(); },
            "How many changes wait.");
}

}  // namespace papython
