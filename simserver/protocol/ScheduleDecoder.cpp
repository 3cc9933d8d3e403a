#include "simserver/protocol/ScheduleDecoder.h"

#include <algorithm>
#include <date/date.h>
#include <tuple>

#include "simserver/protocol/ContentDecoder.h"
#include "simserver/protocol/FieldText.h"
#include "simserver/protocol/Refused.h"

namespace simserver {

namespace {

using Pieces = std::vector<std::string_view>;

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

void checkMinute(const LocalMinute& time) {
    const auto isWithin = [](int value, int low, int high) {
        return value >= low && value <= high;
    };
    const bool isDay =
        isWithin(time.year, 1, 9999) && isWithin(time.month, 1, 12) && isWithin(time.day, 1, 31) &&
        date::year_month_day(date::year(time.year), date::month(static_cast<unsigned>(time.month)),
                             date::day(static_cast<unsigned>(time.day)))
            .ok();
    if (!isDay) {
        throw Refused("there is no day " + dayText(time));
    }
    if (!isWithin(time.hour, 0, 23) || !isWithin(time.minute, 0, 59)) {
        throw Refused("there is no time " + timeText(time));
    }
}

void checkRunTimes(const RunTimes& times) {
    constexpr int wholeWeek = 0x7F;
    const auto inOrder = [](const LocalMinute& time) {
        return std::tie(time.year, time.month, time.day, time.hour, time.minute);
    };
    within("start", [&] { checkMinute(times.start); });
    within("end", [&] { checkMinute(times.end); });
    if (inOrder(times.end) < inOrder(times.start)) {
        throw Refused("the end, " + dayText(times.end) + " " + timeText(times.end) +
                      ", lies before the start, " + dayText(times.start) + " " +
                      timeText(times.start));
    }
    if ((times.dayMask & wholeWeek) == 0) {
        throw Refused("day mask " + std::to_string(times.dayMask) + " names no day of the week");
    }
    if (times.frequency < 0) {
        throw Refused("negative frequency");
    }
}

/// A number of the payload, and where it goes.
struct Number {
    const char* name;
    int& target;
};

template <std::size_t Count>
void readNumbers(const Pieces& fields, std::size_t first, const Number (&numbers)[Count]) {
    for (std::size_t i = 0; i < Count; ++i) {
        numbers[i].target =
            within(numbers[i].name, [&] { return wholeNumber<int>(fields[first + i]); });
    }
}

// -------------------------------------------------------------------------------------- parts

// Encoded as a whole: (the encoded list of encoded key=value pairs, with ^ between)!validity
ScreenContent decodeScreen(std::string_view text) {
    const std::string whole = unquoted(text);
    const Pieces parts = pieces(whole, '!');
    if (parts.size() != 2) {
        throw Refused("expected variables!validity");
    }
    const std::string list = unquoted(parts[0]);
    if (list.empty()) {
        throw Refused("neither a template nor a variable");
    }
    ScreenContent content;
    for (const std::string_view item : pieces(list, '^')) {
        const std::string pair = unquoted(item);
        const Pieces sides = pieces(pair, '=');
        if (sides.size() != 2) {
            throw Refused("expected key=value");
        }
        content.variables.emplace_back(unquoted(sides[0]), unquoted(sides[1]));
    }
    content.validity = within("validity", [&] { return wholeNumber<int>(parts[1]); });
    return content;
}

ScheduledContent decodeScheduled(const AnnouncementType& type, std::string_view text) {
    switch (type.form) {
        case ContentForm::Recorded:
            return decodeRecorded(text);
        case ContentForm::Dictionary:
            return decodeDictionary(text);
        case ContentForm::Spoken:
            return decodeSpoken(text);
        case ContentForm::Template:
            return decodeScreen(text);
        default:
            throw Refused(std::string("a schedule does not play type ") + type.name);
    }
}

struct Tail {
    std::string_view content;
    std::string_view gain;
    std::string_view chime;
};

/// What stands behind the zones of a part. What has quotes only where texts are encoded ends at the
/// first comma outside them; a path may hold anything, so that it ends at the last comma but one.
Tail tailOf(std::string_view rest, ContentForm form) {
    constexpr std::size_t none = std::string_view::npos;
    const bool isPath = form == ContentForm::Recorded;
    std::size_t behindContent = isPath ? none : pieces(rest, ',').front().size();
    std::size_t behindGain = isPath ? rest.rfind(',') : rest.find(',', behindContent + 1);
    if (isPath && behindGain != none && behindGain > 0) {
        behindContent = rest.rfind(',', behindGain - 1);
    }
    if (behindContent == none || behindContent >= rest.size() || behindGain == none) {
        throw Refused("expected type,origin,zones,content,gain,chime");
    }
    return {rest.substr(0, behindContent),
            rest.substr(behindContent + 1, behindGain - behindContent - 1),
            rest.substr(behindGain + 1)};
}

SchedulePart decodePart(std::string_view text) {
    const Pieces fields = pieces(text, ',');
    const AnnouncementType& type = decodePlayedType(fields[0]);
    if (fields.size() < 4) {
        throw Refused("expected type,origin,zones,content,gain,chime");
    }
    const auto beforeRest = static_cast<std::size_t>(fields[3].data() - text.data());
    const Tail tail = tailOf(text.substr(beforeRest), type.form);
    SchedulePart part;
    part.type = &type;
    part.origin = fields[1];
    part.zones = within("zones", [&] { return decodeZones(fields[2], type.form); });
    part.content = within("content", [&] { return decodeScheduled(type, tail.content); });
    if (!tail.gain.empty()) {
        part.gain = within("gain", [&] { return decimalNumber(tail.gain); });
    }
    part.chime = tail.chime;
    return part;
}

/// The encoded texts that follow each other with nothing between.
Pieces adjacentTexts(std::string_view raw) {
    Pieces texts;
    while (!raw.empty()) {
        std::size_t end = 1;
        while (end < raw.size() && raw[end] != '"') {
            end += raw[end] == '\\' ? 2 : 1;
        }
        texts.push_back(raw.substr(0, end + 1));
        raw.remove_prefix(std::min(end + 1, raw.size()));
    }
    return texts;
}

std::vector<SchedulePart> decodeParts(std::string_view raw) {
    std::vector<SchedulePart> parts;
    for (const std::string_view encoded : adjacentTexts(raw)) {
        const std::string place = "part " + std::to_string(parts.size() + 1);
        parts.push_back(within(place, [&] { return decodePart(unquoted(encoded)); }));
    }
    const bool heardThenShown = parts.size() == 2 && parts[0].type->medium == Medium::Audio &&
                                parts[1].type->medium == Medium::Visual;
    if (parts.size() != 1 && !heardThenShown) {
        throw Refused("expected a part that is heard, one that is shown, or both in this order");
    }
    return parts;
}

}  // namespace

void decodeSchedule(std::string_view payload, Schedule& schedule) {
    constexpr std::size_t headFields = 18;
    const Pieces fields = pieces(payload, ',');
    readNumbers(fields, 0, {{"id", schedule.id}});
    refuseNul(payload);
    if (fields.size() != headFields + 1) {
        throw Refused(std::to_string(fields.size()) + " fields; expected " +
                      std::to_string(headFields + 1));
    }
    RunTimes& times = schedule.times;
    schedule.description = within("description", [&] { return unquoted(fields[1]); });
    readNumbers(fields, 2,
                {{"start year", times.start.year},
                 {"start month", times.start.month},
                 {"start day", times.start.day},
                 {"start hour", times.start.hour},
                 {"start minute", times.start.minute},
                 {"end year", times.end.year},
                 {"end month", times.end.month},
                 {"end day", times.end.day},
                 {"end hour", times.end.hour},
                 {"end minute", times.end.minute},
                 {"day mask", times.dayMask},
                 {"frequency", times.frequency}});
    if (fields[14] != "1" || fields[15] != "\"\"") {
        throw Refused("expected 1,\"\" behind the frequency");
    }
    schedule.relative = decodeRelative(fields[16]);
    readNumbers(fields, 17, {{"priority level", schedule.level}});
    if (schedule.id < 0) {
        throw Refused("negative id");
    }
    checkRunTimes(times);
    schedule.parts = decodeParts(fields[headFields]);
}

}  // namespace simserver
