// SPDX-License-Identifier: Apache-2.0
// The record handlers against a second, naive reading: each entry before and after its record, and
// whether observers and events report it. The input has a command on each line:
//   KIND KEY FIELDS      a record: | between its fields, - for an absent one; after N= follows the
//                        field of column N
//   withdraw KIND KEY    0 for every key
#include <algorithm>
#include <sstream>

#include "fuzz/Target.h"
#include "fuzz/naiveRecords.h"
#include "fuzz/naiveTexts.h"
#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"
#include "tests/support/recordCalls.h"

namespace {

using C = PAController;
using naive::Record;
using Found = std::optional<Record>;

template <class Known>
Record recordOf(const Known& known) {
    Record record;
    paclient::forEachMember(known, [&](const paclient::MemberInfo& info, const auto& value) {
        record[info.name] = naive::textOf(value);
    });
    return record;
}

template <class Known, std::optional<Known> (C::*findOne)(int) const>
Found find(int key) {
    const auto known = (gPaController.*findOne)(key);
    return known ? Found(recordOf(*known)) : std::nullopt;
}
template <class Known, std::vector<Known> (C::*list)() const, auto keyMember>
Found search(int key) {
    for (const Known& known : (gPaController.*list)()) {
        if (known.*keyMember == key) {
            return recordOf(known);
        }
    }
    return std::nullopt;
}
Found findAttachedZones(int source) {
    std::vector<std::string> zones;
    gPaController.getAttachedPaZoneList(source, &zones);
    return Record{{"zones", naive::textOf(zones)}};
}

template <class Known>
Record blank() {
    return recordOf(Known());
}
Record blankSource() {
    PaSource source;
    source.healthState = PaSource::HEALTHY;
    return recordOf(source);
}
Record noZones() {
    return {{"zones", "0:"}};
}

struct CheckedKind {
    const char* name;
    naive::Layout layout;
    const char* key;  // member that has the key, null for none
    bool hasId;       // another id under the key is another resource: the entry stays
    int event;        // posted for each record, 0 for none; of a zone for each change
    Record (*blank)();
    Found (*find)(int key);
    HandleRecord handle;
    RemoveRecord withdraw;
};

// clang-format off
constexpr CheckedKind kinds[] = {
    {"source", "id# locationt* labelt* ipAddresss* type#* - subAddresss* state#* - - - inputGaind* broadcastType# - - - healthState#*",
     nullptr, true, 6, blankSource, find<PaSource, &C::findPaSource>, byKey<&C::addUpdatePaSource>, withdrawKind<2>},
    {"sink", "id# locationt* labelt* ipAddresss* type#* - ampPortLists* state#* - announcementType#* - outputGaind* muteState#* - - monitoringSinkId#* - healthState#* "
     "- - - - - - - - paZoneListz@ monitoringEnabledb* monitoringZoneListl@ - - mediaLogt*",
     nullptr, true, 8, blank<PaSink>, find<PaSink, &C::findPaSink>, byKey<&C::addUpdatePaSink>, withdrawKind<3>},
    {"trigger", "id# associatedSourceId#* labels* type#* - subAddresss* priority#* state#* - associatedSelectorId#*",
     nullptr, true, 10, blank<PaTrigger>, find<PaTrigger, &C::findHwPaTrigger>, byKey<&C::addUpdatePaTrigger>, withdrawKind<4>},
    {"selector", "id# associatedSourceId#* type#* - numbers* labels* protection#* - mode#* - dynamicRestriction#* - state#*",
     nullptr, true, 12, blank<PaSelector>, find<PaSelector, &C::findPaSelector>, byKey<&C::addUpdatePaSelector>, withdrawKind<5>},
    {"attachedZones", "zonesu*", nullptr, false, 0, noZones, findAttachedZones, byKey<&C::addUpdateAttachedPaZone>, withdrawKind<6>},
    {"zone", "idt* - activity#* activityTexts* announcementType#* announcementTypeTexts* health# healthTexts",
     nullptr, false, 40, blank<PaZone>, find<PaZone, &C::findPaZone>, ofServer, withdrawKind<20>},
    {"port", "languaget* voicet* rate#* textt*",
     "portNo", false, 0, blank<TTSVocalizer>, search<TTSVocalizer, &C::getTTSVocalizerList, &TTSVocalizer::portNo>, byKey<&C::updateFromTTS_Ports>, removeByKey<&C::deleteFromTTS_Ports>},
    {"item", "portNo#* uuidt* textt* fullNamet* sizet* checksumt* urit*",
     "key", false, 0, blank<TTSDictionary>, search<TTSDictionary, &C::getTTSDictionaryList, &TTSDictionary::key>, byKey<&C::updateFromTTS_Dictionary>, removeByKey<&C::deleteFromTTS_Dictionary>},
    {"request", "requestIdt - - - - stateTexts startDateTimes - - messageContentt - - - - - - priorityTexts - completionCodes completionMsgt",
     "id", false, 0, blank<AnnouncementRequest>, find<AnnouncementRequest, &C::findAnnouncementRequest>, byKey<&C::addUpdateAnnouncementRequest>, withdrawKind<11>},
    {"schedule", "descrptiont - - - - dayMask# frequency# priorityMode# priorityLevel# audiot visualt",
     "Id", false, 38, blank<ScheduleDefinition>, find<ScheduleDefinition, &C::findSchedule>, byKey<&C::updateScheduleList>, withdrawKind<18>},
};
// clang-format on

bool is(const CheckedKind& kind, std::string_view name) {
    return kind.name == name;
}

constexpr std::size_t mostFields = 40;

/// What a record makes of an entry.
struct Outcome {
    Found entry;
    bool isDropped = false;
    bool changed = false;  // observers are notified
};

/// @param fields those that count as absent are
Outcome outcomeOf(const CheckedKind& kind, int key, const pa::RecordFields& fields,
                  const Found& before) {
    Record record = is(kind, "request") && before ? *before : kind.blank();
    if (kind.key != nullptr) {
        record[kind.key] = std::to_string(key);
    }
    naive::read(kind.layout, fields, record);
    const bool hasContent = is(kind, "request") && fields[9];
    if ((key == 0 && (is(kind, "zone") || is(kind, "selector"))) ||
        (hasContent && !naive::takeRequestContent(record)) ||
        (is(kind, "schedule") && !naive::takeSchedule(record, fields))) {
        return {before, true, false};
    }
    if (!before || is(kind, "request") || is(kind, "schedule")) {
        const char* const validity = "displayTemplateValidityPeriodSeconds";
        if (before && is(kind, "schedule")) {
            record[validity] = before->at(validity);
        }
        const naive::Tokens halves = naive::tokens(record["descrption"], '~');
        record["descrption"] = halves.size() == 2 ? halves[1] : record["descrption"];
        return {record, false, true};
    }
    Record entry = *before;
    const bool isOther = kind.hasId && entry.at("id") != record.at("id");
    const bool changed = isOther || naive::merge(kind.layout, entry, record);
    return {entry, false, changed};
}

/// Of the members that were found.
void compare(const Found& found, const Found& expected, const std::string& text) {
    fuzz::require(found.has_value() == expected.has_value(), text);
    for (const auto& [member, value] : found.value_or(Record())) {
        if (value != expected->at(member)) {
            fuzz::requireEqual(value, expected->at(member), std::string(member) + " after " + text);
        }
    }
}

bool contains(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line) != std::string::npos;
}

void checkRecord(const CheckedKind& kind, int key, const std::string& text) {
    pa::RecordFields fields = fieldsOf(text);
    pa::RecordList list(fields);
    fields.resize(mostFields);
    for (std::size_t i = 0; i < mostFields; ++i) {
        if (fields[i] == "" || fields[i] == "(null)") {
            fields.set(i, std::nullopt);
        }
    }
    const Outcome outcome = outcomeOf(kind, key, fields, kind.find(key));
    kind.handle(gPaController, key, list.list());
    const bool isListed = !is(kind, "port") || outcome.entry->at("rate") == "48000";
    compare(kind.find(key), isListed ? outcome.entry : std::nullopt, text);
    const std::string transcript = recordingHost::transcript();
    const bool isObserved = !is(kind, "port") && !is(kind, "attachedZones");
    const bool isPosted = !outcome.isDropped && (outcome.changed || !is(kind, "zone"));
    fuzz::require(
        contains(transcript, "*o: ") == (isObserved && (outcome.changed || is(kind, "item"))),
        "observers are notified of a change");
    fuzz::require(contains(transcript, "*event " + std::to_string(kind.event) + " ") ==
                      (isPosted && kind.event > 0),
                  "an event is posted");
    if (is(kind, "source")) {
        const auto locks = gPaController.getPaSourceLocks();
        const int id = naive::number(std::string(fields[0].value_or("0")));
        fuzz::require(std::any_of(locks.begin(), locks.end(),
                                  [&](const PaSourceLockStatus& lock) {
                                      return lock.sourceId == id &&
                                             lock.lockedUUID == fields[9].value_or("");
                                  }),
                      "the lock has its holder");
    }
}

void act(const std::string& text) {
    std::istringstream line(text);
    std::string command;
    std::string rest;
    int key = 0;
    line >> command;
    const bool withdraws = command == "withdraw" && line >> command;
    line >> key;
    line.get();
    std::getline(line, rest);
    for (const CheckedKind& kind : kinds) {
        if (is(kind, command) && withdraws) {
            kind.withdraw(gPaController, key);
            fuzz::require(!kind.find(key) || is(kind, "attachedZones"), "withdrawn");
        } else if (is(kind, command)) {
            checkRecord(kind, key, rest);
        }
    }
}

}  // namespace

void fuzz::run(const std::string& input) {
    static RecordingObserver& observer = *new RecordingObserver("o");
    gPaController.registerObserver(&observer);  // each is registered once
    gPaController.initPaResources();
    recordingHost::reset();
    for (const std::string& line : pieces(input.substr(0, input.find('\0')), '\n')) {
        act(line);
        recordingHost::transcript();
    }
}
