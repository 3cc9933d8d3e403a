// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cctype>
#include <memory>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <string>
#include <utility>
#include <vector>

#include "client/Announcement.h"
#include "client/checkMessage.h"
#include "client/records.h"
#include "python/binding.h"
#include "python/confirmed.h"
#include "python/recordClass.h"

namespace paclient {

template <>
struct Members<Announcement::Part> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("record", record.record);
        visit("state", record.state);
        visit("reason", record.reason);
        visit("isOver", record.isOver);
    }
};

template <>
struct Members<Announcement::ZoneState> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
        visit("isPlaying", record.isPlaying);
    }
};

template <>
struct Members<Finding> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("kind", record.kind);
        visit("subject", record.subject);
        visit("text", record.text);
        visit("isRefused", isRefused(record.kind));
    }
};

}  // namespace paclient

namespace papython {

namespace {

using paclient::Announcement;
using paclient::Wait;
using Zones = std::vector<std::string>;

/// "PRE_EMPTED" for "pre-empted", of each state.
std::vector<std::string> stateNames() {
    std::vector<std::string> names;
    for (int state = 0; state <= static_cast<int>(Announcement::State::Refused); ++state) {
        std::string name = nameOf(static_cast<Announcement::State>(state));
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char letter) {
            return static_cast<char>(letter == '-' ? '_' : std::toupper(letter));
        });
        names.push_back(name);
    }
    return names;
}

/// Requests an announcement. A signal that ends an upload has its exception raised afterwards.
/// @param message a copy, as other threads of Python may change theirs
std::unique_ptr<Announcement> announce(const Zones& zones, const Message message) {
    requireConnection();
    return waiting({}, [&](const Wait& wait) {
        auto made = std::make_unique<Announcement>(zones, message);
        wait.whileWaiting({});
        return made;
    });
}

void bindMessage(const py::module_& module) {
    using Text = const std::string&;
    using Items = const std::vector<unsigned>&;
    py::class_<Message>(module, "Message", "An announcement that is composed and can be played.")
        .def(py::init<>())
        .def_property("request_id", &Message::getRequestID, &Message::setRequestID)
        .def_property("pre_chime", &Message::getPreChime, &Message::setPreChime)
        .def_property("post_chime", &Message::getPostChime, &Message::setPostChime)
        .def_property("repeat_count", &Message::getRepeatCnt, &Message::setRepeatCnt)
        .def_property("gain", &Message::getGain, &Message::setGain,
                      "In dB; in force once it is set.")
        .def_property_readonly(
            "priority", [](const Message& self) { return self.getPriority().getPriorityLevel(); })
        .def_property_readonly(
            "priority_mode",
            [](const Message& self) { return toPython(self.getPriority().getPriorityMode()); })
        .def(
            "set_priority",
            [](Message& self, int level, bool relative) {
                self.setPriority({relative ? APM_RELATIVE_PRIORITY : APM_ABSOLUTE_PRIORITY, level});
            },
            py::arg("level"), py::arg("relative") = false)
        .def(
            "set_audio_text",
            [](Message& self, Text text, Text language, Text voice) {
                Message changed = self;
                {
                    const WithoutGil withoutGil;
                    changed.setAudioMessage(text, language, voice, Message::UTF_8);
                }
                self = std::move(changed);
            },
            py::arg("text"), py::arg("language"), py::arg("voice"),
            "Adds a text to be spoken with a voice of the server.")
        .def(
            "set_audio_items", [](Message& self, Items items) { self.setAudioMessage(items); },
            py::arg("items"), "Dictionary items, played one after the other.")
        .def(
            "set_audio_recording", [](Message& self, Text path) { self.setAudioMessage(path); },
            py::arg("path"), "A recording that the server holds.")
        .def(
            "set_audio_file",
            [](Message& self, Text path) { self.setAudioMessage(path, Message::L16_48K); },
            py::arg("path"), "A file of this machine, uploaded when it is played.")
        .def(
            "set_visual_template",
            [](Message& self, Text name, const Message::DisplayVariables& variables, int validity) {
                self.setVisualMessage(name, variables, validity);
            },
            py::arg("name"), py::arg("variables"), py::arg("validity"),
            "A display template, displayed for `validity` seconds.");
}

}  // namespace

void bindAnnouncements(py::module_& module) {
    bindMessage(module);
    py::class_<Announcement> type(module, "Announcement",
                                  "One announcement, from its request to its end. It plays on when "
                                  "the object is deleted.");
    enumeration<Announcement::State>(type, "State", stateNames());
    recordClass<Announcement::Part>(module, "AnnouncementPart", "The audio or the visual part.");
    recordClass<Announcement::ZoneState>(module, "ZoneState", "Whether it plays in a zone now.");
    recordClass<paclient::Finding>(
        module, "Finding", "What keeps an announcement from being played.",
        Nested<paclient::Finding::Kind>{"Kind",
                                        {"UNKNOWN_ZONE", "EMPTY_ZONE", "FAULTY_ZONE", "BUSY_ZONE",
                                         "UNKNOWN_VOICE", "UNKNOWN_ITEM"}});
    type.def(py::init(&announce), py::arg("zones"), py::arg("message"))
        .def_property_readonly("request_id", &Announcement::requestId)
        .def_property_readonly("part_count", &Announcement::partCount)
        .def_property_readonly("state",
                               [](const Announcement& self) { return toPython(self.state()); })
        .def_property_readonly("reason",
                               [](const Announcement& self) { return toPython(self.reason()); })
        .def_property_readonly("is_over", &Announcement::isOver)
        .def("parts", &Announcement::parts, "Those that the server has reported.")
        .def("zones", &Announcement::zones, py::call_guard<WithoutGil>(), "Each requested zone.")
        .def(
            "wait_until_accepted",
            [](Announcement& self, const Timeout& timeout) {
                return toPython(waiting(
                    timeout, [&](const Wait& wait) { return self.waitUntilAccepted(wait); }));
            },
            py::arg("timeout") = defaultSeconds, "Returns the state then.")
        .def(
            "wait",
            [](Announcement& self, const Timeout& timeout) {
                return toPython(
                    waiting(timeout, [&](const Wait& wait) { return self.wait(wait); }));
            },
            py::arg("timeout") = py::none(), "Waits until it is over; returns the state then.")
        .def(
            "cancel",
            [](Announcement& self, const Timeout& timeout) {
                return waiting(timeout, [&](const Wait& wait) { return self.cancel(wait); });
            },
            py::arg("timeout") = defaultSeconds, "Has the server cancel it, and waits.");
    module.def(
        "check_message",
        // NOLINTNEXTLINE(performance-unnecessary-value-param): as for announce
        [](const Zones& zones, const Message message) {
            const WithoutGil withoutGil;
            return paclient::checkMessage(zones, message);
        },
        py::arg("zones"), py::arg("message"),
        "A dry run: what would keep a message from being played now.");
    Confirmed<const std::string&>::define(
        module, "cancel_announcement",
        +[](const std::string& requestId, const Wait& wait) {
            return paclient::cancelAnnouncement(requestId, wait).confirmation;
        },
        "Cancels a request, whichever client has made it.", py::arg("request_id"));
    Confirmed<int>::define(
        module, "cancel_announcements",
        +[](int wanted, const Wait& wait) {
            return paclient::cancelAnnouncements(static_cast<Message::Type>(wanted), wait);
        },
        "Cancels every announcement of a type that is active now; the result, and the records as "
        "they have ended.",
        py::arg("type"));
}

}  // namespace papython
