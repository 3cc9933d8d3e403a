// SPDX-License-Identifier: Apache-2.0
#include "console/text/changeText.h"

#include "client/StationClock.h"
#include "client/json.h"
#include "client/recordText.h"
#include "client/resources.h"
#include "client/scheduleText.h"
#include "console/ExitCode.h"
#include "console/text/cleanText.h"

namespace console {

using namespace paclient;

namespace {

/// "Platform 1: Playing, TTS". States that are empty are left out.
std::string withStates(const std::string& name, const std::vector<std::string>& states) {
    std::vector<std::string> given;
    for (const std::string& state : states) {
        if (!state.empty()) {
            given.push_back(state);
        }
    }
    return given.empty() ? name : name + ": " + valueText(given);
}

std::string numbered(int id, const std::string& label) {
    return std::to_string(id) + (label.empty() ? "" : " " + label);
}

std::string text(const PaSource& source) {
    return withStates(numbered(source.id, source.label),
                      {nameOf(source.state), nameOf(source.healthState)});
}
std::string text(const PaSink& sink) {
    return withStates(numbered(sink.id, sink.label),
                      {nameOf(sink.state), nameOf(sink.announcementType), nameOf(sink.muteState),
                       nameOf(sink.healthState), valueText(sink.outputGain) + " dB"});
}
std::string text(const PaZone& zone) {
    return withStates(zone.id, {zone.activityText, zone.announcementTypeText, zone.healthText});
}
std::string text(const AnnouncementRequest& record) {
    return withStates(numbered(record.id, record.getRequestID()),
                      {record.stateText, record.completionMsg});
}
template <class TriggerOrSelector>
std::string text(const TriggerOrSelector& record) {
    return withStates(numbered(record.id, record.label), {nameOf(record.state)});
}
std::string text(const ScheduleDefinition& definition) {
    const ScheduleEntry schedule = described(definition);
    return withStates(numbered(schedule.Id, schedule.descrption),
                      {schedule.periodText, schedule.daysText, schedule.timesText,
                       schedule.contentText, valueText(schedule.paZones)});
}
std::string text(const SourceLock& lock) {
    return withStates("source " + std::to_string(lock.sourceId), {holderText(lock)});
}
std::string text(const Retrieval& retrieval) {
    return withStates(retrieval.requestId, {nameOf(retrieval.error), retrieval.uri});
}
std::string text(const palink::Refusal& refusal) {
    return withStates(refusal.requestId, {refusal.reason});
}

/// The time at the station now: "2026-12-01T06:00:12".
std::string timeNow() {
    constexpr std::size_t minuteLength = 16;
    constexpr int minute = 60;
    const StationClock clock = stationClock();
    const std::time_t now = clock.now();
    const auto second = std::to_string(now % minute);
    return clock.momentText(now).substr(0, minuteLength) + (second.size() < 2 ? ":0" : ":") +
           second;
}

/// Writes one change.
struct ChangeWriter {
    const char* event;
    const LineForm form;

    template <class Record>
    std::string operator()(const Updated<Record>& updated) const {
        return line(updated.record);
    }
    template <class Record>
    std::string operator()(const Deleted<Record>& deleted) const {
        return lineOf({{"id", deleted.id}}, valueText(deleted.id));
    }
    std::string operator()(const Deleted<AnnouncementRequest>& deleted) const {
        return line(deleted.record);
    }
    std::string operator()(const Deleted<ScheduleDefinition>& deleted) const {
        return line(deleted.record);
    }
    std::string operator()(const LockChange& change) const {
        return line(withHolder({change.sourceId, change.lockedUUID}));
    }
    std::string operator()(const Retrieval& retrieval) const {
        return lineOf({{"requestId", retrieval.requestId},
                       {"success", retrieval.success},
                       {"error", jsonValue(retrieval.error)},
                       {"errorText", nameOf(retrieval.error)},
                       {"uri", retrieval.uri}},
                      text(retrieval));
    }
    std::string operator()(const palink::Refusal& refusal) const { return line(refusal); }
    template <class Other>
    std::string operator()(const Other& /*change*/) const {
        return {};
    }

private:
    template <class Record>
    std::string line(const Record& record) const {
        return lineOf(toJson(record), text(record));
    }

    std::string lineOf(const Json& record, const std::string& recordText) const {
        constexpr std::size_t eventWidth = 20;
        constexpr std::size_t dateLength = 11;
        const std::string time = timeNow();
        if (form == LineForm::Json) {
            Json object = {{"event", event}, {"time", time}};
            object.update(record);
            return jsonLine(object);
        }
        return time.substr(dateLength) + "  " + fitted(event, eventWidth) + clean(recordText) +
               '\n';
    }
};

}  // namespace

std::string changeLine(const Change& change, LineForm form) {
    return std::visit(ChangeWriter{eventName(change), form}, change);
}

std::string connectionText(const Change& change) {
    if (const auto* const lost = std::get_if<Lost>(&change)) {
        return std::to_string(lost->count) + " changes are not printed: they came too fast";
    }
    using State = palink::ConnectionChange::State;
    const auto* const connection = std::get_if<palink::ConnectionChange>(&change);
    const bool isBack =
        connection != nullptr && connection->state == State::Synced && connection->number > 1;
    return isBack ? "the connection to the server is there again" : "";  // its loss is in the log
}

void requireNoLoss(const Change& change) {
    using State = palink::ConnectionChange::State;
    const auto* const connection = std::get_if<palink::ConnectionChange>(&change);
    require(connection == nullptr ||
                (connection->state != State::Disconnected && connection->state != State::Stopped),
            "the connection to the server is lost", ExitCode::ConnectionLost);
}

}  // namespace console
