#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "client/json.h"
#include "framework/fieldEncoding.h"
#include "link/Router.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/topics.h"
#include "resource/common/stringUtils.h"
#include "sdk/globals.h"
#include "simserver/SimServer.h"
#include "simserver/station/StationFile.h"
#include "tests/host/HostTest.h"
#include "tests/mqtt/protocolPage.h"

/// What the page says of the inside of messages: its tables of fields against what the controller
/// reads, its examples against the simulated server.

namespace {

using pa::RecordKind;
using RecordJson = paclient::Json;
namespace topics = palink::topics;

/// A line of an example: a topic and a payload.
struct PageExample {
    std::string topic;
    std::string payload;
};

std::vector<PageExample> examplesOf(const std::string& text, const std::string& group) {
    std::vector<PageExample> examples;
    for (const std::string& line : found(text, "\n(pa/1/" + group + "/[^\n]*)")) {
        const std::size_t end = std::min(line.find(' '), line.size());
        examples.push_back({line.substr(0, end), line.substr(std::min(end + 1, line.size()))});
    }
    return examples;
}

/// The sections of the third level, each with its heading.
std::vector<std::string> pageSections() {
    const std::string text = protocolPage();
    std::vector<std::string> sections;
    for (std::size_t at = text.find("\n### "); at != std::string::npos;
         at = text.find("\n### ", at + 1)) {
        const std::size_t end = text.find("\n##", at + 1);
        sections.push_back(text.substr(at + 1, end - at - 1));
    }
    return sections;
}

/// A row of a table of fields.
struct FieldRow {
    std::size_t position = 0;
    std::vector<std::string> names;
    std::string form;
    std::string missing;
};

std::vector<FieldRow> fieldRows(const std::string& section) {
    const std::regex row("\n\\| (\\d+) \\| ([^|]*) \\| ([^|]*) \\| ([^|]*) \\| [^|]* \\|");
    std::vector<FieldRow> rows;
    for (std::sregex_iterator match(section.begin(), section.end(), row), end; match != end;
         ++match) {
        rows.push_back(
            {std::stoul((*match)[1]), found((*match)[2], "`([^`]*)`"), (*match)[3], (*match)[4]});
    }
    return rows;
}

std::string decodedField(std::string text) {
    translateElemStringFieldFromSvr(text);
    return text;
}

/// The value of a field by its form in the page.
RecordJson valueOf(const std::string& form, const std::string& text) {
    if (form == "number") {
        return std::stoi(text);
    }
    if (form == "decimal") {
        return std::stod(text);
    }
    if (form == "plain") {
        return text;
    }
    if (form == "encoded") {
        return decodedField(text);
    }
    EXPECT_TRUE(form == "list" || form == "plain list") << form;
    std::vector<std::string> elements;
    splitStr(form == "list" ? decodedField(text).c_str() : text.c_str(), '^', elements, false);
    return elements;
}

/// The value of a missing field by the page.
RecordJson valueOfMissing(const FieldRow& row) {
    if (row.missing == "none") {
        return RecordJson::array();
    }
    if (row.missing == "empty" || row.missing == "as before") {
        return "";
    }
    const std::vector<std::string> quoted = found(row.missing, "`([^`]*)`");
    return quoted.empty() ? RecordJson(std::stod(row.missing)) : RecordJson(quoted.at(0));
}

template <class Entry>
RecordJson jsonOf(const std::optional<Entry>& entry) {
    return entry ? paclient::toJson(*entry, paclient::JsonTexts::None) : RecordJson();
}

/// The member of a list that has the key.
template <class Entry>
RecordJson entryIn(const std::vector<Entry>& entries, int Entry::*keyMember, int key) {
    const auto entry = std::find_if(entries.begin(), entries.end(), [&](const Entry& candidate) {
        return candidate.*keyMember == key;
    });
    return entry == entries.end() ? RecordJson() : jsonOf(std::optional(*entry));
}

RecordJson sourceEntry(int key) {
    RecordJson entry = jsonOf(gPaController.findPaSource(key));
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        if (!entry.is_null() && lock.sourceId == entry["id"]) {
            entry["lockedUUID"] = lock.lockedUUID;
        }
    }
    return entry;
}

/// What the controller holds under a key, null for nothing.
RecordJson entryOf(RecordKind kind, int key) {
    switch (kind) {
        case RecordKind::Source:
            return sourceEntry(key);
        case RecordKind::Sink:
            return jsonOf(gPaController.findPaSink(key));
        case RecordKind::Trigger:
            return jsonOf(gPaController.findHwPaTrigger(key));
        case RecordKind::Selector:
            return jsonOf(gPaController.findPaSelector(key));
        case RecordKind::Announcement:
            return jsonOf(gPaController.findAnnouncementRequest(key));
        case RecordKind::Schedule:
            return jsonOf(gPaController.findSchedule(key));
        case RecordKind::Zone:
            return jsonOf(gPaController.findPaZone(key));
        case RecordKind::TtsPort:
            return entryIn(gPaController.getTTSVocalizerList(), &TTSVocalizer::portNo, key);
        case RecordKind::TtsDictionary:
            return entryIn(gPaController.getTTSDictionaryList(), &TTSDictionary::key, key);
        default:
            break;
    }
    std::vector<std::string> zones;
    gPaController.getAttachedPaZoneList(key, &zones);
    return {{"attachedZones", zones}};
}

struct FieldsTest : HostTest {
    FieldsTest() {
        pa::store(gLocalDstNo, 1);
        pa::store(gActiveAudioServerDstNo, 1);
        gPaController.initPaResources();
    }
    ~FieldsTest() override {
        router.waitUntilIdle();
        gPaController.initPaResources();
    }

    void handle(RecordKind kind, int key, const pa::RecordFields& fields) {
        router.handle(palink::Record{1, kind, key, fields});
        router.waitUntilIdle();
    }

    palink::Router router{gPaController};
};

/// Compares members of the controller's entry with the fields of a record, by a row of the page.
void expectField(const FieldRow& row, const RecordJson& entry, const pa::RecordFields& fields) {
    const bool isThere = row.position < fields.size() && !fields[row.position].value_or("").empty();
    std::vector<std::string> texts;
    if (isThere) {
        texts = {*fields[row.position]};
    }
    if (isThere && row.names.size() > 1) {
        splitStr(fields[row.position]->c_str(), ':', texts, false);
        ASSERT_EQ(texts.size(), row.names.size());
    }
    for (std::size_t i = 0; i < row.names.size(); ++i) {
        const std::string& name = row.names[i];
        if (name == "dstNo") {
            continue;  // decides whether a record is used
        }
        ASSERT_TRUE(entry.contains(name)) << name;
        const std::string form = row.names.size() > 1 ? "number" : row.form;
        RecordJson expected = isThere ? valueOf(form, texts[i]) : valueOfMissing(row);
        if (name == "descrption" && isThere) {  // without the UUID
            const std::string whole = expected;
            expected = decodedField(whole.substr(whole.find('~') + 1));
        }
        if (entry[name].is_boolean()) {
            expected = expected == 1;
        }
        EXPECT_EQ(entry[name], expected) << row.position << ' ' << name;
    }
}

TEST_F(FieldsTest, AreReadAsTheTablesOfThePageListThem) {
    std::set<RecordKind> kinds;
    for (const std::string& section : pageSections()) {
        const std::vector<FieldRow> rows = fieldRows(section);
        std::set<std::size_t> filled;  // positions that an example has
        for (const PageExample& example : examplesOf(section, "records")) {
            SCOPED_TRACE(example.topic);
            const auto topic = topics::readRecord(example.topic);
            ASSERT_TRUE(topic);
            EXPECT_EQ(found(section, "^###[^\n]*, kind ([0-9]+)\n").at(0),
                      std::to_string(static_cast<int>(topic->kind)));
            const pa::RecordFields fields = palink::decodeRecord(example.payload);
            for (std::size_t i = 0; i < fields.size(); ++i) {
                if (fields[i]) {
                    filled.insert(i);
                }
            }
            const std::pair<int, pa::RecordFields> records[] = {{topic->key, fields},
                                                                {topic->key + 1000, {}}};
            for (const auto& [key, sent] : records) {
                handle(topic->kind, key, sent);
                const RecordJson entry = entryOf(topic->kind, key);
                ASSERT_FALSE(entry.is_null()) << key;
                for (const FieldRow& row : rows) {
                    expectField(row, entry, sent);
                }
            }
            kinds.insert(topic->kind);
        }
        std::vector<std::size_t> positions;
        for (const FieldRow& row : rows) {
            positions.push_back(row.position);
        }
        EXPECT_EQ(std::vector<std::size_t>(filled.begin(), filled.end()), positions)
            << section.substr(0, section.find('\n'));
    }
    EXPECT_EQ(kinds.size(), std::size(pa::recordKinds));
}

TEST_F(FieldsTest, NestedInTheExamplesAreWhatTheyDescribe) {
    for (const PageExample& example : examplesOf(protocolPage(), "records")) {
        const auto topic = topics::readRecord(example.topic);
        ASSERT_TRUE(topic);
        handle(topic->kind, topic->key, palink::decodeRecord(example.payload));
    }
    const std::vector<std::string> zones = {"Platform 1", "Subway"};
    const RecordJson played = entryOf(RecordKind::Announcement, 13);
    EXPECT_EQ(played["audioMessageType"], 2);
    EXPECT_EQ(played["zones"], zones);

    const auto items = gPaController.findSchedule(1);
    ASSERT_TRUE(items);
    EXPECT_EQ(items->descrption, "Morning \"rush\"");
    EXPECT_EQ(items->paZones, zones);
    EXPECT_EQ(items->dictionaryItems, (std::vector<unsigned>{5, 6}));
    EXPECT_EQ(items->repeatCnt, 2);
    EXPECT_EQ(items->displayTemplateName, "Information");
    EXPECT_EQ(items->displayTemplateKeyValueList.at("TEXT"), "Hello");
    EXPECT_EQ(items->displayTemplateValidityPeriodSeconds, 30);
    EXPECT_EQ(items->gain, -6);
    EXPECT_EQ(items->chime, "Two-tone chime");

    const auto spoken = gPaController.findSchedule(12);
    ASSERT_TRUE(spoken && spoken->ttsList.size() == 1);
    EXPECT_EQ(spoken->ttsList[0].language, "en");
    EXPECT_EQ(spoken->ttsList[0].voice, "Amelia");
    EXPECT_EQ(spoken->ttsList[0].text, "Mind the \"gap\"");

    const auto recorded = gPaController.findSchedule(13);
    ASSERT_TRUE(recorded);
    EXPECT_EQ(recorded->storedDataFilePath, "/home/quillon/announcements/closing-time.wav");
}

/// Every record that a server has published.
struct PublishedRecords : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override {
        if (const auto* const record = std::get_if<palink::Record>(&event)) {
            all.insert(topics::record(1, record->kind, record->key) + ' ' +
                       palink::encodeRecord(record->fields));
        }
    }

    std::set<std::string> all;
};

TEST(PageTest, TheSimulatedServerTakesTheOperationsAndPublishesTheRecords) {
    const std::filesystem::path pageFile = PA_LINK_PROTOCOL_PAGE;
    const std::filesystem::path root = pageFile.parent_path().parent_path();
    PublishedRecords published;
    simserver::Options options;
    options.manualTime = true;
    simserver::SimServer server(simserver::loadStation(root / "scenarios/central-station.json"),
                                options);
    server.connectClient(published);
    std::set<std::string> types;
    const std::string page = protocolPage();
    for (const PageExample& example : examplesOf(page, "operations")) {
        const auto type = topics::readOperation(example.topic, 1);
        ASSERT_TRUE(type) << example.topic;
        const auto refusal = server.operate({-1, *type, 1, example.payload});
        EXPECT_FALSE(refusal) << example.topic << ' ' << refusal->reason;
        types.insert(textOf(*type));
    }
    server.disconnectClient();
    EXPECT_EQ(types.size(), 20U);
    for (const PageExample& example : examplesOf(page, "records")) {
        const RecordKind kind = topics::readRecord(example.topic)->kind;
        // The others have times and identifiers of their run.
        if (kind != RecordKind::Announcement && kind != RecordKind::TtsDictionary) {
            EXPECT_EQ(published.all.count(example.topic + ' ' + example.payload), 1U)
                << example.topic;
        }
    }
}

}  // namespace
