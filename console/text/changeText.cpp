#include "console/text/changeText.h"

#include "client/json.h"
#include "client/recordText.h"
#include "client/scheduleText.h"
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
std::string text(const PaTrigger& trigger) {
    return withStates(numbered(trigger.id, trigger.label), {nameOf(trigger.state)});
}
std::string text(const PaSelector& selector) {
    return withStates(numbered(selector.id, selector.label), {nameOf(selector.state)});
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
std::string text(const palink::LevelReading& reading) {
    return withStates("element " + std::to_string(reading.element),
                      {valueText(reading.level) + " dB"});
}
std::string text(const palink::Refusal& refusal) {
    return withStates(refusal.requestId, {refusal.reason});
}
std::string text(const GoneNumber& gone) {
    return std::to_string(gone.id);
}
std::string text(const GoneName& gone) {
    return gone.id;
}

}  // namespace

std::string changeText(const Change& change) {
    constexpr std::size_t eventWidth = 20;
    const auto record = std::visit([](const auto& what) { return text(what); }, change.what);
    return fitted(change.event, eventWidth) + clean(record) + '\n';
}

std::string changeJson(const Change& change) {
    Json line = {{"event", change.event}};
    line.update(std::visit([](const auto& what) { return toJson(what); }, change.what));
    return jsonLine(line);
}

}  // namespace console
