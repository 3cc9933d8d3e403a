// SPDX-License-Identifier: Apache-2.0
// The exchanges in exchanges/*.txt: what the controller does with the records of the server.
//
//     == Name      an exchange, with empty caches
//     . command    a command
//     > command    a command, and below it the lines that it leads to
//
// The commands before the first exchange of a file begin each of them.
//
//     source KEY FIELDS ...                a record, and likewise of the other kinds
//     zone SERVER KEY FIELDS
//     withdraw SERVER KIND KEY             the withdrawal of records, 0 for any
//     reconnect                            the caches are emptied
//     preview REQUEST PORT SECONDS TEXT    a preview that has waited since that time
//     pass [COUNT]                         passes of the worker
//     set NAME NUMBER, withoutFacade       the globals and the clock of the host
//     list WHAT [WHICH]                    what the controller answers
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "client/recordText.h"
#include "tests/controller/fixtures.h"

namespace {

using paclient::linesOf;
using paclient::memberTexts;
using Words = std::istringstream;

int number(Words& words) {
    int value = 0;
    words >> value;
    return value;
}
std::string rest(Words& words) {
    std::string text;
    std::getline(words >> std::ws, text);
    return text;
}

template <std::string (&Give)(int, const pa::RecordFields&)>
void record(Words& words) {
    const int key = number(words);
    host().transcript = Give(key, fieldsOf(rest(words)));
}
void zoneRecord(Words& words) {
    const int server = number(words);
    const int key = number(words);
    pa::RecordList record(fieldsOf(rest(words)));
    gPaController.addUpdatePaZone(server, key, record.list());
}
void withdraw(Words& words) {
    const int server = number(words);
    const int kind = number(words);
    gPaController.deleteAudioVideoControllerInfo(server, kind, number(words));
}
void preview(Words& words) {
    std::string key;
    words >> key;
    const int port = number(words);
    const int since = number(words);
    TTSPendingInfo info(port, "en", "anna", 48000, rest(words), since);
    gPaController.addToTTSPreviewPendingList(key, info);
}

void set(Words& words) {
    static const std::map<std::string, void (*)(int)> settings = {
        {"debug", [](int level) { debugLevel = level; }},
        {"indirect", [](int on) { gIndirectCXSConnection = on != 0; }},
        {"active", [](int server) { gActiveAudioServerDstNo = server; }},
        {"time", [](int seconds) { host().now = seconds; }}};
    std::string name;
    words >> name;
    settings.at(name)(number(words));
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : " ") + text;
    }
    return all + "\n";
}

std::string attached(Words& words) {
    PaSource source;
    source.id = number(words);
    return joined(source.getAttachedPaZones());
}
std::string members(Words& words) {
    PaZone zone;
    zone.id = rest(words);
    return joined(memberTexts<&PaSink::id>(zone.getMembers()));
}

void list(Words& words) {
    static const PAController& c = gPaController;
    static const std::map<std::string, std::string (*)(Words&)> lists = {
        {"locks", [](Words&) { return linesOf(c.getPaSourceLocks()); }},
        {"schedules", [](Words&) { return linesOf(c.listSchedules()); }},
        {"requests", [](Words&) { return linesOf(c.getAnnouncementRequests()); }},
        {"voices", [](Words&) { return linesOf(c.getTTSVocalizerList()); }},
        {"items", [](Words&) { return linesOf(c.getTTSDictionaryList()); }},
        {"monitored",
         [](Words&) { return joined(memberTexts<&PaSink::monitoringEnabled>(c.getPaSinks())); }},
        {"sinks",
         [](Words& w) {
             return joined(memberTexts<&PaSink::typeAsString>(c.getPaSinks(number(w))));
         }},
        {"zones", [](Words&) { return joined(memberTexts<&PaZone::id>(c.getPaZones())); }},
        {"zone", [](Words& w) { return std::string(c.findPaZone(number(w)) ? "found\n" : ""); }},
        {"attached", attached},
        {"members", members}};
    std::string name;
    words >> name;
    const std::string text = lists.at(name)(words);
    host().transcript += text.size() < 2 ? "none\n" : text;
}

void run(const std::string& command) {
    static const std::map<std::string, void (*)(Words&)> commands = {
        {"source", record<giveSource>},
        {"sink", record<giveSink>},
        {"trigger", record<giveTrigger>},
        {"selector", record<giveSelector>},
        {"zone", zoneRecord},
        {"attachedZones", record<giveAttachedZones>},
        {"request", record<giveRequest>},
        {"schedule", record<giveSchedule>},
        {"port", record<givePort>},
        {"item", record<giveItem>},
        {"preview", preview},
        {"withdraw", withdraw},
        {"reconnect", [](Words&) { gPaController.initPaResources(); }},
        {"withoutFacade", [](Words&) { gAudioServerInstance = nullptr; }},
        {"pass", [](Words& words) { host().transcript = passes(std::max(1, number(words))); }},
        {"set", set},
        {"list", list}};
    Words words(command);
    std::string verb;
    words >> verb;
    commands.at(verb)(words);
}

struct Exchange {
    std::string name;
    std::vector<std::string> lines;
};

std::ostream& operator<<(std::ostream& out, const Exchange& exchange) {
    return out << exchange.name;
}

std::vector<Exchange> exchanges() {
    std::vector<Exchange> all;
    for (const auto& path : std::filesystem::directory_iterator(PA_EXCHANGES)) {
        std::ifstream file(path.path());
        Exchange begin;
        Exchange* current = &begin;
        for (std::string line; std::getline(file, line);) {
            if (line.rfind("== ", 0) == 0) {
                all.push_back({line.substr(3), begin.lines});
                current = &all.back();
            } else if (line != "" && line[0] != '#') {
                current->lines.push_back(line);
            }
        }
    }
    return all;
}

struct ExchangeTest : ControllerTest, testing::WithParamInterface<Exchange> {};

INSTANTIATE_TEST_SUITE_P(Texts, ExchangeTest, testing::ValuesIn(exchanges()),
                         [](const auto& row) { return row.param.name; });

TEST_P(ExchangeTest, IsAsWritten) {
    std::string expected;
    std::string actual;
    for (const std::string& line : GetParam().lines) {
        expected += line + "\n";
        if (line[0] == '>' || line[0] == '.') {
            run(line.substr(2));
            const std::string led = transcript();
            actual += line + "\n" + (line[0] == '>' ? led : "");
        }
    }
    EXPECT_EQ(actual, expected);
}

}  // namespace
