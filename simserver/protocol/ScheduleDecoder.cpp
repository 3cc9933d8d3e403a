// SPDX-License-Identifier: Apache-2.0
#include "simserver/protocol/ScheduleDecoder.h"

#include <algorithm>
#include <date/date.h>
#include <tuple>

#include "simserver/protocol/ContentDecoder.h"
#include "simserver/protocol/FieldText.h"

namespace simserver {

namespace {

// ---------------------------------------------------------------------------------- run times

std::string twoDigits(int value) {
    return (value >= 0 && value < 10 ? "0" : "") + std::to_string(value);
}
std::string dayText(const LocalMinute& time) {
    return std::to_string(time.year) + "-" + twoDigits(time.month) + "-" + twoDigits(time.day);
}
std::string timeText(const LocalMinute& time) {
    return twoDigits(time.hour) + ":" + twoDigits(time.minute);
}

/// @param name of the time, for the refusal
void checkMinute(const FieldReader& in, const std::string& name, const LocalMinute& time) {
    const auto isWithin = [](int value, int low, int high) {
        return value >= low && value <= high;
    };
    const bool isDay =
        isWithin(time.year, 1, 9999) && isWithin(time.month, 1, 12) && isWithin(time.day, 1, 31) &&
        date::year_month_day(date::year(time.year), date::month(static_cast<unsigned>(time.month)),
                             date::day(static_cast<unsigned>(time.day)))
            .ok();
    if (!isDay) {
        in.refuse(name + ": there is no day " + dayText(time));
    }
    if (!isWithin(time.hour, 0, 23) || !isWithin(time.minute, 0, 59)) {
        in.refuse(name + ": there is no time " + timeText(time));
    }
}

void checkRunTimes(const FieldReader& in, const RunTimes& times) {
    constexpr int wholeWeek = 0x7F;
    const auto inOrder = [](const LocalMinute& time) {
        return std::tie(time.year, time.month, time.day, time.hour, time.minute);
    };
    checkMinute(in, "start", times.start);
    checkMinute(in, "end", times.end);
    if (inOrder(times.end) < inOrder(times.start)) {
        in.refuse("the end, " + dayText(times.end) + " " + timeText(times.end) +
                  ", is before the start, " + dayText(times.start) + " " + timeText(times.start));
    }
    if ((times.dayMask & wholeWeek) == 0) {
        in.refuse("day mask " + std::to_string(times.dayMask) + " names no day of the week");
    }
    if (times.frequency < 0) {
        in.refuse("negative frequency");
    }
}

LocalMinute decodeMinute(FieldReader& in, const std::string& name) {
    return {in.integer(name + " year"), in.integer(name + " month"), in.integer(name + " day"),
            in.integer(name + " hour"), in.integer(name + " minute")};
}

// -------------------------------------------------------------------------------------- parts

// Encoded as a whole: (the encoded list of encoded key=value pairs, with ^ between)!validity
ScreenContent decodeScreen(const NamedField& field) {
    FieldReader in(field.decoded(), '!');
    in.expect(2, "variables!validity");
    const NamedField list = in.field().decoded();
    if (list.isEmpty()) {
        field.refuse("neither a template nor a variable");
    }
    ScreenContent content;
    for (FieldReader variables(list, '^'); !variables.atEnd();) {
        FieldReader pair(variables.field("variable").decoded(), '=');
        pair.expect(2, "key=value");
        std::string key = pair.decodedText("key");
        content.variables.emplace_back(std::move(key), pair.decodedText("value"));
    }
    content.validity = in.integer("validity");
    return content;
}

ScheduledContent decodeScheduled(const PartType& type, const NamedField& field) {
    switch (type.form) {
        case ContentForm::Recorded:
            return decodeRecorded(field);
        case ContentForm::Dictionary:
            return decodeDictionary(field);
        case ContentForm::Spoken:
            return decodeSpoken(field);
        case ContentForm::Template:
            return decodeScreen(field);
        default:
            field.refuse(std::string("a schedule does not play type ") + type.name);
    }
}

/// The fields after the zones of a part.
struct Tail {
    NamedField content;
    NamedField gain;
    std::string chime;
};

/// A content with quotes only around encoded texts ends at the first comma outside them. A path may
/// hold any character, so it ends at the last comma but one.
Tail tailOf(FieldReader& in, ContentForm form) {
    constexpr std::size_t none = std::string::npos;
    const NamedField whole = in.rest();
    const std::string& text = whole.text();
    const bool isPath = form == ContentForm::Recorded;
    std::size_t contentEnd = isPath ? none : FieldReader(whole).text().size();
    const std::size_t gainEnd = isPath ? text.rfind(',') : text.find(',', contentEnd + 1);
    if (isPath && gainEnd != none && gainEnd > 0) {
        contentEnd = text.rfind(',', gainEnd - 1);
    }
    if (contentEnd == none || contentEnd >= text.size() || gainEnd == none) {
        in.refuse("expected type,origin,zones,content,gain,chime");
    }
    return {whole.inner(text.substr(0, contentEnd), "content"),
            whole.inner(text.substr(contentEnd + 1, gainEnd - contentEnd - 1), "gain"),
            text.substr(gainEnd + 1)};
}

SchedulePart decodePart(const NamedField& field) {
    FieldReader in(field.decoded());
    SchedulePart part;
    part.type = &decodePlayedType(in.field());
    part.origin = in.text("origin");
    const NamedField zones = in.field("zones");
    const Tail tail = tailOf(in, part.type->form);
    part.zones = decodeZones(zones, part.type->form);
    part.content = decodeScheduled(*part.type, tail.content);
    if (!tail.gain.isEmpty()) {
        part.gain = tail.gain.decimal();
    }
    part.chime = tail.chime;
    return part;
}

/// The encoded texts that follow each other with nothing between.
std::vector<std::string> adjacentTexts(std::string_view raw) {
    std::vector<std::string> texts;
    while (!raw.empty()) {
        std::size_t end = 1;
        while (end < raw.size() && raw[end] != '"') {
            end += raw[end] == '\\' ? 2 : 1;
        }
        texts.emplace_back(raw.substr(0, end + 1));
        raw.remove_prefix(std::min(end + 1, raw.size()));
    }
    return texts;
}

std::vector<SchedulePart> decodeParts(const NamedField& field) {
    std::vector<SchedulePart> parts;
    for (const std::string& encoded : adjacentTexts(field.text())) {
        const std::string name = "part " + std::to_string(parts.size() + 1);
        parts.push_back(decodePart(field.inner(encoded, name)));
    }
    const bool audioThenVisual = parts.size() == 2 && parts[0].type->medium == Medium::Audio &&
                                 parts[1].type->medium == Medium::Visual;
    if (parts.size() != 1 && !audioThenVisual) {
        field.refuse("expected an audio part, a visual part, or both in this order");
    }
    return parts;
}

}  // namespace

void decodeSchedule(std::string_view payload, Schedule& schedule) {
    constexpr std::size_t fieldCount = 19;
    FieldReader in(payload);
    const std::size_t count = in.count();
    schedule.id = in.integer("id");
    refuseNul(payload);
    if (count != fieldCount) {
        in.refuse(std::to_string(count) + " fields; expected " + std::to_string(fieldCount));
    }
    schedule.description = in.decodedText("description");
    RunTimes& times = schedule.times;
    times.start = decodeMinute(in, "start");
    times.end = decodeMinute(in, "end");
    times.dayMask = in.integer("day mask");
    times.frequency = in.integer("frequency");
    const std::string constant = in.text();
    if (constant != "1" || in.text() != "\"\"") {
        in.refuse("expected 1,\"\" after the frequency");
    }
    schedule.relative = decodeRelative(in.field());
    schedule.level = in.integer("priority level");
    if (schedule.id < 0) {
        in.refuse("negative id");
    }
    checkRunTimes(in, times);
    schedule.parts = decodeParts(in.field());
}

}  // namespace simserver
