// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/Records.h"

#include <algorithm>
#include <array>

#include "simserver/protocol/FieldText.h"

namespace simserver {

namespace {

constexpr std::nullopt_t skipped = std::nullopt;

std::string number(int value) {
    return std::to_string(value);
}

/// A list of zones that its reader translates before it splits it.
std::optional<std::string> zoneField(const std::vector<std::string>& zones) {
    return zones.empty() ? std::nullopt : std::optional(quotedText(quotedList(zones, '^')));
}

const char* healthText(int health) {
    constexpr std::array<const char*, 5> names = {"Unknown", "Healthy", "Minor fault",
                                                  "Major fault", "Inactive"};
    return names.at(static_cast<std::size_t>(health));
}

/// The texts of a state; the completion code is null for a part that is not over.
struct StateText {
    PartState state;
    const char* text;
    const char* completionCode;
};

constexpr StateText stateTexts[] = {
    {PartState::Queued, "Queued", nullptr},    {PartState::Playing, "Playing", nullptr},
    {PartState::Finished, "Finished", "0"},    {PartState::Cancelled, "Cancelled", "1"},
    {PartState::PreEmpted, "Pre-empted", "2"}, {PartState::Failed, "Failed", "3"},
};

const StateText& textOf(PartState state) {
    return *std::find_if(std::begin(stateTexts), std::end(stateTexts),
                         [state](const StateText& row) { return row.state == state; });
}

std::string dateText(std::time_t epoch, SimTime start) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(start);
    const std::time_t time = epoch + static_cast<std::time_t>(seconds.count());
    std::tm utc{};
    std::array<char, 32> text{};
    if (gmtime_r(&time, &utc) == nullptr) {
        return "";
    }
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &utc)};
}

std::string contentText(const RecordedContent& content) {
    return content.path;
}
std::string contentText(const DictionaryContent& content) {
    std::string items;
    for (const unsigned item : content.items) {
        items += (items.empty() ? "" : "^") + std::to_string(item);
    }
    return items + "!" + std::to_string(content.repeats);
}
std::string contentText(const TextContent& content) {
    return content.text;
}
std::string contentText(const SpokenContent& content) {
    std::string texts;
    for (const SpokenText& spoken : content.texts) {
        texts += (texts.empty() ? "" : "!") + spoken.text;
    }
    return texts;
}
std::string contentText(const TemplateContent& content) {
    return content.json;
}
std::string contentText(const LiveContent& content) {
    return std::to_string(content.sourceId);
}

// type,origin,zones,content,gain,before^after^0
std::string messageContent(const RequestPart& part) {
    const std::string content =
        std::visit([](const auto& alternative) { return contentText(alternative); }, part.content);
    return std::to_string(part.type->number) + "," + quotedText(part.origin) + "," +
           quotedText(quotedList(part.zones, '^')) + "," + quotedText(content) + "," +
           (part.gain ? decimalText(*part.gain) : "") + "," + std::to_string(part.preChime) + "^" +
           std::to_string(part.postChime) + "^0";
}

}  // namespace

pa::RecordFields sourceRecord(const Source& source, const std::string& lockHolder, int dstNo) {
    constexpr int notAttached = 1;
    constexpr int attached = 2;
    return {
        number(source.id),
        quotedText(source.location),
        quotedText(source.label),
        source.ipAddress,
        number(source.type),
        skipped,  // 5
        source.subAddress,
        number(source.attachedZones.empty() ? notAttached : attached),
        skipped,  // 8
        lockHolder,
        number(dstNo),
        decimalText(source.inputGain),
        number(source.broadcastType),
        skipped,  // 13
        skipped,
        skipped,
        number(source.health),  // 16
    };
}

pa::RecordFields attachedZonesRecord(const Source& source) {
    return {zoneField(source.attachedZones)};
}

pa::RecordFields sinkRecord(const Sink& sink, bool playing) {
    constexpr int idle = 1;
    constexpr int active = 2;
    constexpr int nothing = 0;
    constexpr int filePlay = 1;
    pa::RecordFields fields = {
        number(sink.id),
        quotedText(sink.location),
        quotedText(sink.label),
        sink.ipAddress,
        number(sink.type),
        skipped,  // 5
        sink.ampPorts,
        number(playing ? active : idle),
        skipped,  // 8
        number(playing ? filePlay : nothing),
        skipped,  // 10
        decimalText(sink.outputGain),
        number(sink.muteState),
        skipped,  // 13
        skipped,
        number(sink.monitoringSinkId),  // 15
        skipped,
        number(sink.health),
    };
    fields.resize(26);  // 18 to 25 are skipped
    fields.push_back(zoneField(sink.zones));
    fields.push_back(number(sink.monitoringEnabled ? 1 : 0));
    fields.push_back(quotedList(sink.monitoringZones, '^'));
    fields.resize(31);  // 29 and 30 are skipped
    fields.push_back(quotedText(sink.mediaLog));
    return fields;
}

pa::RecordFields zoneRecord(const Zone& zone, const PartType* playing) {
    const PartType& type = playing != nullptr ? *playing : *findType(noAnnouncement);
    return {
        quotedText(zone.id),
        skipped,  // 1
        number(playing != nullptr ? 1 : 0),
        playing != nullptr ? "Active" : "Idle",
        number(type.number),
        type.name,
        number(zone.health),
        healthText(zone.health),
    };
}

pa::RecordFields triggerRecord(const Trigger& trigger, int dstNo) {
    constexpr int inactive = 1;
    constexpr int active = 2;
    return {
        number(trigger.id),
        number(trigger.source),
        trigger.label,
        number(trigger.type),
        skipped,  // 4
        trigger.subAddress,
        number(trigger.priority),
        number(trigger.active ? active : inactive),
        skipped,  // 8
        number(trigger.selector),
        number(dstNo),
    };
}

pa::RecordFields selectorRecord(const Selector& selector) {
    return {
        number(selector.id),
        number(selector.source),
        number(selector.type),
        skipped,  // 3
        selector.number,
        selector.label,
        number(selector.protection),
        skipped,  // 7
        number(selector.mode),
        skipped,  // 9
        number(selector.dynamicRestriction),
        skipped,  // 11
        number(selector.state),
    };
}

pa::RecordFields voiceRecord(const Voice& voice) {
    return {quotedText(voice.language), quotedText(voice.voice), number(voice.rate),
            quotedText(voice.text)};
}

pa::RecordFields previewRecord(const Preview& preview) {
    return {
        number(preview.port),
        quotedText(preview.uuid),
        quotedText(preview.text),
        quotedText(preview.fullName),
        quotedText(preview.port == Preview::failed ? "" : std::to_string(preview.size)),
        quotedText(preview.checksum),
        quotedText(preview.uri),
    };
}

pa::RecordFields recordingRecord(const RecordingReport& recording, std::time_t epoch) {
    pa::RecordFields fields(20);  // those that are not set are skipped or absent
    fields.set(0, quotedText(recording.requestId));
    fields.set(5, recording.state);
    fields.set(6, dateText(epoch, recording.start));
    fields.set(18, recording.completionCode);
    fields.set(19, quotedText(recording.message));
    return fields;
}

pa::RecordFields announcementRecord(const PlayPart& part, std::time_t epoch) {
    const StateText& state = textOf(part.state);
    pa::RecordFields fields(part.isOver() ? 20 : 17);
    fields.set(0, quotedText(part.requestId));
    fields.set(5, state.text);
    if (part.start) {
        fields.set(6, dateText(epoch, *part.start));
    }
    fields.set(9, quotedText(messageContent(part.request)));
    fields.set(16, part.priority);
    if (part.isOver()) {
        fields.set(18, state.completionCode);
        fields.set(19, quotedText(part.outcome));
    }
    return fields;
}

}  // namespace simserver
