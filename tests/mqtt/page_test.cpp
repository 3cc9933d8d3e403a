#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
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

struct PageExample {
    std::string topic;
    std::string payload;
};

/// The examples by a pattern of topic and payload.
std::vector<PageExample> examples(const std::string& pattern) {
    std::ifstream file(pageFile);
    const std::string page(std::istreambuf_iterator<char>(file), {});
    const std::regex regex(pattern);
    std::vector<PageExample> all;
    for (std::sregex_iterator match(page.begin(), page.end(), regex), end; match != end; ++match) {
        all.push_back({(*match)[1], (*match)[2]});
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

}  // namespace
