// The record handlers against a second, naive reading: the calls of the observer, the events and
// the caches. The input has a command on each line:
//   KIND KEY FIELDS      a record: | between its fields, - for an absent one; after N= follows the
//                        field of column N
//   withdraw KIND KEY    KIND a number, 0 for all; KEY 0 for all
#include <sstream>

#include "fuzz/Target.h"
#include "fuzz/naiveRecords.h"
#include "fuzz/naiveTexts.h"
#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

using C = PAController;
using Records = std::vector<naive::Record>;

constexpr std::size_t mostColumns = 40;

template <class Known, std::vector<Known> (C::*list)() const>
Records cached() {
    Records records;
    for (const Known& known : (gPaController.*list)()) {
        records.push_back(naive::recordOf(known));
    }
    return records;
}

template <void (C::*Handler)(int, TEVlist*)>
void byKey(int key, TEVlist* list) {
    (gPaController.*Handler)(key, list);
}
void ofServer(int key, TEVlist* list) {
    gPaController.addUpdatePaZone(1, key, list);
}

struct Kind {
    const char* name;
    int number;            // in withdrawals
    const char* observed;  // as the observer notes it, null when there is no observer
    const char* id;
    const char* text;
    int event;  // of a change, 0 for none; that of a withdrawal is one higher
    void (*handle)(int key, TEVlist*);
    Records (*cached)();  // null: there is no list
};

// In the order in which a withdrawal of every kind visits them; the last two have their own.
// clang-format off
constexpr Kind kinds[] = {
    {"source", 2, "source", "id", "label", 6, byKey<&C::addUpdatePaSource>, cached<PaSource, &C::getPaSources>},
    {"sink", 3, "sink", "id", "label", 8, byKey<&C::addUpdatePaSink>, cached<PaSink, &C::getPaSinks>},
    {"trigger", 4, "trigger", "id", "label", 10, byKey<&C::addUpdatePaTrigger>, cached<PaTrigger, &C::getHwPaTriggers>},
    {"selector", 5, "selector", "id", "label", 12, byKey<&C::addUpdatePaSelector>, cached<PaSelector, &C::getPaSelectors>},
    {"attachedZones", 6, nullptr, "", "", 0, byKey<&C::addUpdateAttachedPaZone>, nullptr},
    {"request", 11, "message", "requestId", "stateText", 0, byKey<&C::addUpdateAnnouncementRequest>, cached<AnnouncementRequest, &C::getAnnouncementRequests>},
    {"zone", 20, "zone", "id", "activityText", 40, ofServer, cached<PaZone, &C::getPaZones>},
    {"schedule", 18, "schedule", "Id", "descrption", 38, byKey<&C::updateScheduleList>, cached<ScheduleDefinition, &C::listSchedules>},
    {"port", 101, nullptr, "", "", 0, byKey<&C::updateFromTTS_Ports>, cached<TTSVocalizer, &C::getTTSVocalizerList>},
    {"item", 102, nullptr, "", "", 0, byKey<&C::updateFromTTS_Dictionary>, cached<TTSDictionary, &C::getTTSDictionaryList>},
};
// clang-format on

bool is(const Kind& kind, std::string_view name) {
    return kind.name == name;
}

/// What the controller must hold and do.
struct Expected {
    std::map<std::string, std::vector<std::pair<int, naive::Record>>> caches;
    Records locks;
    std::string effects;

    void add(const Kind& kind, int key, const naive::Fields& fields);
    void withdraw(const Kind& kind, int key);
    Records recordsOf(const Kind& kind);

private:
    void setLock(const naive::Record& source);
    void note(const std::string& line) { effects += "*" + line + "\n"; }
    void noteEvent(const Kind& kind, int event, int key, const naive::Record& record) {
        if (event > 0) {
            note("event " + std::to_string(event) + " " +
                 (is(kind, "zone") ? std::to_string(key) : record.at(kind.id)));
        }
    }
};

/// The description of a schedule as the application knows it.
naive::Record asKnown(const Kind& kind, naive::Record record) {
    const naive::Tokens halves = naive::tokens(record["descrption"], '~');
    if (is(kind, "schedule") && halves.size() == 2) {
        record["descrption"] = halves[1];
    }
    return record;
}

void Expected::setLock(const naive::Record& source) {
    auto lock = std::find_if(locks.begin(), locks.end(), [&source](const naive::Record& known) {
        return known.at("sourceId") == source.at("id");
    });
    lock = lock == locks.end() ? locks.insert(lock, {{"sourceId", source.at("id")}}) : lock;
    (*lock)["lockedUUID"] = source.at("lockedUUID");
}

void Expected::add(const Kind& kind, int key, const naive::Fields& fields) {
    auto& cache = caches[kind.name];
    const bool byArrival = is(kind, "schedule");
    auto entry = std::find_if(cache.begin(), cache.end(), [&](const auto& known) {
        return byArrival ? known.first == key : known.first >= key;
    });
    const bool isNew = entry == cache.end() || entry->first != key;
    const auto decoded = naive::decode(kind.name, key, fields, isNew ? nullptr : &entry->second);
    if (!decoded || (key == 0 && (is(kind, "zone") || is(kind, "selector")))) {
        return;
    }
    entry = isNew ? cache.insert(entry, {key, *decoded}) : entry;
    const std::string log = is(kind, "sink") ? decoded->at("mediaLog") : "";
    const bool logs = !log.empty() && entry->second.at("id") == decoded->at("id") &&
                      entry->second.at("mediaLog") != log;
    const bool changed = isNew || naive::merge(kind.name, entry->second, *decoded);
    if (logs) {
        note("campaign log " + log);
    }
    if (is(kind, "source")) {
        setLock(*decoded);
    }
    effects += is(kind, "source") || byArrival ? "sleep 100\n" : "";
    if (is(kind, "item")) {
        note("o: audio " + decoded->at("uuid") +
             (decoded->at("portNo") == "-1" ? " failed 2 " : " rendered 0 ") + decoded->at("uri"));
    }
    const naive::Record record = asKnown(kind, entry->second);
    if (kind.observed != nullptr && changed) {
        note(std::string("o: ") + kind.observed + " " + record.at(kind.id) + " " +
             record.at(kind.text));
    }
    if (changed || !is(kind, "zone")) {
        noteEvent(kind, kind.event, key, record);
    }
}

void Expected::withdraw(const Kind& kind, int key) {
    auto& cache = caches[kind.name];
    for (std::size_t i = 0; i < cache.size();) {
        const auto [entryKey, entry] = cache[i];
        if (key != 0 && key != entryKey) {
            ++i;
            continue;
        }
        const naive::Record record = asKnown(kind, entry);
        if (kind.observed != nullptr) {
            note(std::string("o: ") + kind.observed + " " + record.at(kind.id) + " " +
                 (is(kind, "schedule") ? record.at(kind.text) + " " : "") + "deleted");
            noteEvent(kind, kind.event > 0 ? kind.event + 1 : 0, entryKey, record);
        }
        cache.erase(cache.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

Records Expected::recordsOf(const Kind& kind) {
    Records records;
    for (const auto& [key, record] : caches[kind.name]) {
        if (!is(kind, "port") || record.at("rate") == "48000") {  // others are not listed
            records.push_back(asKnown(kind, record));
        }
    }
    return records;
}

naive::Fields fieldsFrom(const std::string& text) {
    naive::Fields fields;
    for (std::string field : fuzz::pieces(text, '|')) {
        const std::size_t equals = field.find_first_not_of("0123456789");
        if (equals > 0 && equals < 3 && field[equals] == '=') {
            fields.resize(std::min<std::size_t>(std::stoul(field), mostColumns));
            field = field.substr(equals + 1);
        }
        if (fields.size() < mostColumns) {
            fields.push_back(field == "-" ? std::nullopt : std::optional(field));
        }
    }
    return fields;
}

void withdraw(int number, int key, Expected& expected) {
    if (number == 101) {
        gPaController.deleteFromTTS_Ports(key);
    } else if (number == 102) {
        gPaController.deleteFromTTS_Dictionary(key);
    } else {
        gPaController.deleteAudioVideoControllerInfo(0, number, key);
    }
    for (const Kind& kind : kinds) {
        if (kind.number == number || (number == 0 && kind.number < 100)) {
            expected.withdraw(kind, key);
        }
    }
}

void act(const std::string& text, Expected& expected) {
    std::istringstream line(text);
    std::string command;
    std::string rest;
    int key = 0;
    line >> command >> key;
    line.get();
    std::getline(line, rest);
    for (const Kind& kind : kinds) {
        if (is(kind, command)) {
            const naive::Fields fields = fieldsFrom(rest);
            pa::RecordList list(fuzz::recordFields(fields));
            kind.handle(key, list.list());
            expected.add(kind, key, fields);
        }
    }
    if (command == "withdraw") {
        withdraw(key, naive::number(rest), expected);
    }
    // But for the reports of what is wrong with a record.
    std::string effects;
    for (const std::string& effect : fuzz::pieces(recordingHost::transcript(), '\n')) {
        const bool isReport = effect.empty() || effect.compare(effect[0] == '*', 6, "error ") == 0;
        effects += isReport ? "" : effect + "\n";
    }
    fuzz::requireEqual(effects, expected.effects, text);
    expected.effects.clear();
}

/// Of the members that the records found have.
void compare(const char* name, const Records& found, const Records& expected) {
    fuzz::require(found.size() == expected.size(), name);
    for (std::size_t i = 0; i < found.size(); ++i) {
        for (const auto& [member, value] : found[i]) {
            fuzz::requireEqual(value, expected[i].at(member),
                               std::string(name).append(" ").append(member));
        }
    }
}

}  // namespace

void fuzz::run(const std::string& input) {
    static RecordingObserver& observer = *new RecordingObserver("o");
    gPaController.registerObserver(&observer);  // each is registered once
    gPaController.initPaResources();
    recordingHost::reset();
    Expected expected;
    for (const std::string& line : pieces(input.substr(0, input.find('\0')), '\n')) {
        act(line, expected);
    }
    for (const Kind& kind : kinds) {
        if (kind.cached != nullptr) {
            compare(kind.name, kind.cached(), expected.recordsOf(kind));
        }
    }
    compare("lock", cached<PaSourceLockStatus, &C::getPaSourceLocks>(), expected.locks);
    for (const auto& [key, record] : expected.caches["attachedZones"]) {
        std::vector<std::string> zones;
        gPaController.getAttachedPaZoneList(key, &zones);
        requireEqual(naive::textOf(zones), record.at("zones"), "attached zones");
    }
}
