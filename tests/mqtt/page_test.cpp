// SPDX-License-Identifier: Apache-2.0
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

/// The payload as the SDK writes what it has read.
std::string writtenAgain(const std::string& topic, const std::string& payload) {
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
    const auto rows = matches(textOf(pageFile),
                              "\n\\| `(pa/(?:1/|clients/pa-)[^`]*)` \\|[^|]*\\|(?: `([^`]*)`)?");
    EXPECT_EQ(rows.size(), 14U);
    for (const Captures& row : rows) {
        EXPECT_EQ(writtenAgain(row[1], row[2]), row[2]) << row[1];
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
    const std::string page = textOf(pageFile);
    for (const Captures& row : matches(page, "\n(pa/1/operations/[^ \n]*) ?([^\n]*)")) {
        const auto type = topics::readOperation(row[1], 1);
        ASSERT_TRUE(type) << row[1];
        const auto refusal = server.operate({-1, *type, 1, row[2]});
        EXPECT_FALSE(refusal) << row[1] << ' ' << refusal->reason;
        types.insert(textOf(*type));
    }
    server.disconnectClient();
    EXPECT_EQ(types.size(), 20U);
    std::set<RecordKind> kinds;
    for (const Captures& row : matches(page, "\n(pa/1/records/[^ \n]*) ?([^\n]*)")) {
        const RecordKind kind = topics::readRecord(row[1])->kind;
        kinds.insert(kind);
        // The others have times and identifiers of their run.
        if (kind != RecordKind::Announcement && kind != RecordKind::TtsDictionary) {
            EXPECT_EQ(published.all.count(row[1] + ' ' + row[2]), 1U) << row[1];
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
        {RecordKind::Source, "SourceRecord"},
        {RecordKind::Sink, "SinkRecord"},
        {RecordKind::Trigger, "TriggerRecord"},
        {RecordKind::Selector, "PaSelector"},
        {RecordKind::AttachedZones, "AttachedZonesRecord"},
        {RecordKind::Announcement, "RequestRecord"},
        {RecordKind::Schedule, "ScheduleRecord"},
        {RecordKind::Zone, "PaZone"},
        {RecordKind::TtsPort, "TTSVocalizer"},
        {RecordKind::TtsDictionary, "TTSDictionary"}};
    const std::map<std::string, std::string> forms{{"integer", "number"},
                                                   {"floating", "decimal"},
                                                   {"translated", "encoded"},
                                                   {"encoded", "encoded"},
                                                   {"asReceived", "plain"}};
    std::string kinds = "Kinds:";
    for (const auto& [kind, record] : tables) {
        const std::string number = std::to_string(static_cast<int>(kind));
        kinds += ' ' + number + ' ' + nameOf(kind) + ',';
        // A line for each position that is read: form and name, unless a function of its own reads.
        std::string read = "\n";
        int position = 0;
        for (const Captures& column :
             matches(part(sources, "constexpr Column<" + record + ">", "};"),
                     R"((skipped)|(\w+)<&\w+::(\w+)>(?!\()|\[\]\(|take\w+(?![\w(]))")) {
            const std::string how = column[2].empty() ? "" : forms.at(column[2]) + ' ' + column[3];
            read += column[1].empty() ? std::to_string(position) + ' ' + how + '\n' : "";
            ++position;
        }
        std::string described = "\n";
        for (const Captures& row : matches(part(page, ", kind " + number + "\n", "\n##"),
                                           R"(\n\| (\d+) \| `(\w+)`[^|]* \| ([a-z]+))")) {
            const bool isOwn = read.find('\n' + row[1] + " \n") != std::string::npos;
            described += row[1] + ' ' + (isOwn ? "" : row[3] + ' ' + row[2]) + '\n';
        }
        EXPECT_NE(read, "\n") << record;
        EXPECT_EQ(described, read) << record;
    }
    kinds.back() = '.';
    EXPECT_NE(std::regex_replace(page, std::regex("\n"), " ").find(kinds), std::string::npos);

    const auto operations = [](const std::string& text, const std::string& pattern) {
        std::set<std::string> all;
        for (const Captures& type : matches(text, pattern)) {
            all.insert(type[1] + '/' + type[2]);
        }
        return all;
    };
    const std::string section = part(page, "\n## Texts of operations", "\n## ");
    const auto known = operations(textOf(sdk / "operations.h"), R"(\{(\d+), (\d+)\};)");
    EXPECT_FALSE(known.empty());
    EXPECT_EQ(operations(std::regex_replace(section, std::regex("\npa/[^\n]*"), ""),
                         R"(\b(\d+)/(\d+)\b)"),
              known);
}

}  // namespace
