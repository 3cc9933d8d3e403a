// SPDX-License-Identifier: Apache-2.0
// Texts on their whole way, in every place that takes one: application, controller, link, simulated
// server with its own encoders and decoders, and back.
#include <nlohmann/json.hpp>

#include "client/Announcement.h"
#include "client/recordText.h"
#include "simserver/protocol/RequestDecoder.h"
#include "tests/client/serverFixture.h"
#include "tests/support/schedules.h"

namespace {

using Texts = std::vector<std::string>;

/// Texts that the encodings must carry. Leading blanks do not survive a list, so none has any.
const Texts hostileTexts = {
    hostile,
    "\"",
    "say \"hello\"",
    "back\\slash\\",
    "\\\"",
    "line\nend\r\n\ttab\n\n",
    "{\"json\" : [1, 2]} 🚆",
    "(null)",
    "trailing blanks  ",
    std::string(2'000, '\\') + std::string(2'000, '"'),
};

simserver::Station station() {
    simserver::Station station = testStation();
    for (const std::string& id : hostileTexts) {
        station.zones.push_back({id, 1});
    }
    station.sinks[0].zones = hostileTexts;
    return station;
}

struct HostileTexts : ClientTest {
    HostileTexts() : ClientTest(station()) {}
};

TEST_F(HostileTexts, NameZonesAndMakeAnnouncements) {
    paclient::Subscription sent(paclient::kinds<paclient::SentOperation>());
    for (const std::string& text : hostileTexts) {
        const Texts zones{text, "Concourse"};
        Message message;
        message.setAudioMessage(text, "en", "Amelia", Message::UTF_8);
        message.setVisualMessage("Main", {{"LINE", {{text, 5}}}}, 30);
        paclient::Announcement announcement(zones, message);
        announcement.waitUntilAccepted({});
        EXPECT_EQ(announcement.parts().at(0).record.zones, zones) << "as the server reports them";

        const paclient::ChangePtr change = sent.next(paclient::Wait{});
        simserver::RequestToPlay request;
        simserver::decodePlay(std::get<paclient::SentOperation>(*change).operation.payload,
                              request);
        EXPECT_EQ(request.parts.at(0).zones, zones);
        const auto& texts = std::get<simserver::SpokenContent>(request.parts.at(0).content).texts;
        EXPECT_EQ(texts.at(0).text, text);
        const auto json = nlohmann::json::parse(
            std::get<simserver::TemplateContent>(request.parts.at(1).content).json);
        EXPECT_EQ(json["kvPairs"]["LINE"]["values"][0]["text"].get<std::string>(), text);
    }
    std::vector<PaZone> zones = gPaController.getPaZones();
    zones.erase(zones.begin(), zones.end() - static_cast<std::ptrdiff_t>(hostileTexts.size()));
    for (std::size_t i = 0; i < hostileTexts.size(); ++i) {
        EXPECT_EQ(zones[i].id, hostileTexts[i]);
        EXPECT_EQ(zones[i].getMembers().size(), 1U);
    }
}

TEST_F(HostileTexts, MakeSchedules) {
    for (const std::string& text : hostileTexts) {
        ScheduleDefinition both = wordy(text);
        both.paZones = {text, "Concourse"};
        both.ttsList.push_back({0, "after it", "en", "Amelia"});

        ScheduleDefinition stored = schedule();
        stored.announcementType = AT_STORED_DATA;
        stored.dictionaryItems.clear();
        stored.storedDataSourceId = 5;
        stored.storedDataFilePath = text;

        for (ScheduleDefinition schedule : {both, stored}) {
            schedule.Id = 0;
            schedule.Id = gPaController.createScheduleSync(schedule);
            EXPECT_EQ(paclient::lineOf(gPaController.listSchedules().back()),
                      paclient::lineOf(schedule));
        }
    }
}

}  // namespace
