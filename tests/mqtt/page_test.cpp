#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "link/mqtt/answer.h"
#include "link/mqtt/levelPayload.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/serverStatus.h"
#include "link/mqtt/topics.h"
#include "link/mqtt/uploadMessages.h"
#include "simserver/SimServer.h"
#include "simserver/station/StationFile.h"

/// The examples of the page that describes the protocol, against the SDK and the simulated server.

namespace {

using pa::RecordKind;
namespace topics = palink::topics;

const std::filesystem::path pageFile = PA_LINK_PROTOCOL_PAGE;

std::string textOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

using Captures = std::vector<std::string>;  // of one match: all of it, then each group

std::vector<Captures> matches(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::vector<Captures> all;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        all.emplace_back(match->begin(), match->end());
    }
    return all;
}

/// The part of a text that begins with one piece and ends before the next occurrence of another.
std::string part(const std::string& text, const std::string& begin, const std::string& end) {
    const std::size_t first = text.find(begin);
    return first == std::string::npos ? "" : text.substr(first, text.find(end, first + 1) - first);
}

struct PageExample {
    std::string topic;
    std::string payload;
};

/// The examples by a pattern of topic and payload.
std::vector<PageExample> examples(const std::string& pattern) {
    std::vector<PageExample> all;
    for (const Captures& match : matches(textOf(pageFile), pattern)) {
        all.push_back({match[1], match[2]});
    }
    return all;
}

/// The payload as the SDK writes what it has read.
std::string writtenAgain(const PageExample& example) {
    const auto& [topic, payload] = example;
    if (topics::readStatus(topic)) {
        return palink::encodeStatus(palink::decodeStatus(payload));
    }
    if (topics::readRecord(topic)) {
        return payload.empty() ? "" : palink::encodeRecord(palink::decodeRecord(payload));
    }
    if (topics::readLevel(topic, 1)) {
        return palink::encodeLevel(palink::decodeLevel(payload));
    }
    if (topic == topics::uploadBegin(1)) {
        return palink::encodeUploadBegin(palink::decodeUploadBegin(payload));
    }
    if (topic.rfind("pa/clients/", 0) == 0) {
        palink::Answer answer = palink::decodeAnswer(payload);
        if (!answer.result.empty()) {
            answer.result =
                palink::encodeUploadProgress(palink::decodeUploadProgress(answer.result));
        }
        return palink::encodeAnswer(answer);
    }
    const bool isRequest = topics::readOperation(topic, 1) || topics::readLevelRequest(topic, 1) ||
                           topic == topics::roundTrips(1) || topic == topics::uploadData(1);
    return isRequest ? payload : "no such topic";
}

TEST(PageTest, TheTableOfExamplesIsWhatTheSdkReadsAndWrites) {
    const auto rows = examples("\n\\| `(pa/(?:1/|clients/pa-)[^`]*)` \\|[^|]*\\|(?: `([^`]*)`)?");
    EXPECT_EQ(rows.size(), 14U);
    for (const PageExample& row : rows) {
        EXPECT_EQ(writtenAgain(row), row.payload) << row.topic;
    }
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
    PublishedRecords published;
    simserver::Options options;
    options.manualTime = true;
    simserver::SimServer server(
        simserver::loadStation(pageFile.parent_path() / "../scenarios/central-station.json"),
        options);
    server.connectClient(published);
    std::set<std::string> types;
    for (const PageExample& example : examples("\n(pa/1/operations/[^ \n]*) ?([^\n]*)")) {
        const auto type = topics::readOperation(example.topic, 1);
        ASSERT_TRUE(type) << example.topic;
        const auto refusal = server.operate({-1, *type, 1, example.payload});
        EXPECT_FALSE(refusal) << example.topic << ' ' << refusal->reason;
        types.insert(textOf(*type));
    }
    server.disconnectClient();
    EXPECT_EQ(types.size(), 20U);
    std::set<RecordKind> kinds;
    for (const auto& [topic, payload] : examples("\n(pa/1/records/[^ \n]*) ?([^\n]*)")) {
        const RecordKind kind = topics::readRecord(topic)->kind;
        kinds.insert(kind);
        // The others have times and identifiers of their run.
        if (kind != RecordKind::Announcement && kind != RecordKind::TtsDictionary) {
            EXPECT_EQ(published.all.count(topic + ' ' + payload), 1U) << topic;
        }
    }
    EXPECT_EQ(kinds.size(), std::size(pa::recordKinds));
}

TEST(PageTest, ItsTablesAreThoseOfTheController) {
    const std::string page = textOf(pageFile);
    const auto sdk = pageFile.parent_path() / "../sdk";
    std::string sources;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sdk)) {
        sources += entry.path().extension() == ".cpp" ? textOf(entry.path()) : "";
    }
    const std::map<RecordKind, std::string> tables{
        {RecordKind::Source, "SourceRecord"},     {RecordKind::Sink, "PaSink"},
        {RecordKind::Trigger, "TriggerRecord"},   {RecordKind::Selector, "PaSelector"},
        {RecordKind::AttachedZones, "ZoneIds"},   {RecordKind::Announcement, "RequestRecord"},
        {RecordKind::Schedule, "ScheduleRecord"}, {RecordKind::Zone, "PaZone"},
        {RecordKind::TtsPort, "TTSVocalizer"},    {RecordKind::TtsDictionary, "TTSDictionary"}};
    const std::map<std::string, std::string> forms{{"integer", "number"},
                                                   {"floating", "decimal"},
                                                   {"translated", "encoded"},
                                                   {"asReceived", "plain"}};
    std::string kinds = "Kinds:";
    for (const auto& [kind, record] : tables) {
        const std::string number = std::to_string(static_cast<int>(kind));
        kinds += ' ' + number + ' ' + nameOf(kind) + ',';
        // By position: name and form; nothing for what a function of its own reads.
        std::map<int, std::string> read;
        std::map<int, std::string> described;
        int position = 0;
        for (const Captures& column :
             matches(part(sources, "constexpr Column<" + record + ">", "};"),
                     R"((skipped)|(\w+)<&\w+::(\w+)>|\[\]\(|take\w+(?![\w(]))")) {
            if (column[1].empty()) {
                read[position] = column[2].empty() ? "" : forms.at(column[2]) + ' ' + column[3];
            }
            ++position;
        }
        for (const Captures& row : matches(part(page, ", kind " + number + "\n", "\n##"),
                                           R"(\n\| (\d+) \| `(\w+)`[^|]* \| ([a-z]+))")) {
            const auto at = read.find(std::stoi(row[1]));
            const bool isOwn = at != read.end() && at->second.empty();
            described[std::stoi(row[1])] = isOwn ? "" : row[3] + ' ' + row[2];
        }
        EXPECT_FALSE(read.empty()) << record;
        EXPECT_EQ(described, read) << record;
    }
    kinds.back() = '.';
    EXPECT_NE(std::regex_replace(page, std::regex("\n"), " ").find(kinds), std::string::npos);

    std::set<std::string> known;
    for (const Captures& type : matches(textOf(sdk / "operations.h"), R"(\{(\d+), (\d+)\};)")) {
        known.insert(type[1] + '/' + type[2]);
    }
    std::set<std::string> described;
    const std::string section = part(page, "\n## Texts of operations", "\n## ");
    for (const Captures& type :
         matches(std::regex_replace(section, std::regex("\npa/[^\n]*"), ""), R"(\b(\d+/\d+)\b)")) {
        described.insert(type[1]);
    }
    EXPECT_FALSE(known.empty());
    EXPECT_EQ(described, known);
}

}  // namespace
