// SPDX-License-Identifier: Apache-2.0
#include "client/Announcement.h"

#include <stdexcept>

#include "client/checkMessage.h"
#include "client/names.h"
#include "framework/log.h"
#include "sdk/QXReceiver.h"
#include "tests/client/changes.h"
#include "tests/client/serverFixture.h"
#include "tests/support/tables.h"

namespace {

using namespace std::chrono_literals;
using namespace paclient;
using State = Announcement::State;

Message items(const std::string& id, int level, const std::vector<unsigned>& numbers = {12}) {
    Message message;
    message.setRequestID(id);
    message.setAudioMessage(numbers);
    message.setPriority({APM_ABSOLUTE_PRIORITY, level});
    return message;
}

/// What an announcement with two parts comes to: "playing", "refused, over: the reason".
std::string stateAfter(const std::string& changes) {
    Message message = items(ownId, 500);
    message.setVisualMessage("Main", {}, 30);
    State noted = State::Sending;
    const Announcement announcement({"Hall"}, message,
                                    [&](State state, const auto* /*part*/) { noted = state; });
    publish(changes);
    EXPECT_EQ(noted, announcement.state()) << changes;
    const std::string reason = announcement.reason();
    return nameOf(announcement.state()) + std::string(announcement.isOver() ? ", over" : "") +
           (reason.empty() ? "" : ": " + reason);
}

TEST(AnnouncementStates, FollowFromTheChanges) {
    gQXReceiver.close(0ms);  // nothing is to be sent
    pa::setLogSink([](const pa::LogLine&) {});
    expectTable(stateAfter);
    gQXReceiver.abandon();
    pa::setLogSink({});
}

// ------------------------------------------------------------------------- with a simulated server

using AnnouncementTest = ClientTest;

TEST_F(AnnouncementTest, IsFollowedToItsEnd) {
    Announcement announcement({"Hall"}, items("short", 500));
    EXPECT_EQ(announcement.requestId().size(), 36U);  // an id of this length is replaced
    EXPECT_NE(announcement.waitUntilAccepted({}), State::Sending);
    advance(0ms);
    EXPECT_THROW(Announcement({"Yard"}, items(announcement.requestId(), 500)),
                 std::invalid_argument);
    EXPECT_EQ(announcement.wait({0ms}), State::Playing);
    advance(2s);
    EXPECT_EQ(announcement.wait({}), State::Finished);
    EXPECT_EQ(announcement.reason(), "played to its end");
    EXPECT_EQ(textOf(announcement.cancel({})), "as before");
}

TEST_F(AnnouncementTest, LosesTheZonesThatAnotherOneTakes) {
    Announcement announcement({"Hall", "Hall/North", "Yard", "Hallway"}, items(ownId, 500));
    announcement.waitUntilAccepted({});
    advance(0ms);
    const auto playing = [&] {
        std::string zones;
        for (const Announcement::ZoneState& zone : announcement.zones()) {
            zones += zone.isPlaying ? zone.id + ' ' : "";
        }
        return zones;
    };
    int others = 100;
    // What is left when another one, "zone type level", begins to play.
    const auto left = [&](const std::string& other) {
        std::istringstream words(other);
        AnnouncementRequest record;
        record.id = ++others;
        std::string type;
        words >> record.zones.emplace_back() >> type >> record.priorityText;
        record.setAudioMessageType(messageTypeNamed(type).value_or(Message::NONE));
        record.setVisualMessageType(messageTypeNamed(type).value_or(Message::NONE));
        record.priorityText = "Absolute " + record.priorityText;
        record.stateText = "Playing";
        ChangeStream::instance().publish(Updated<AnnouncementRequest>{record});
        return playing() + '.';
    };
    expectTable(left);
    const std::string number = std::to_string(announcement.parts().at(0).record.id);
    publish(number + ":Queued " + number + ":Playing");
    EXPECT_EQ(playing(), "Hall Hall/North Yard Hallway ") << "it begins when it has all of them";
    publish("lost connected " + number + ":Playing");
    left("Yard DICTIONARY 900");
    publish("synced");
    EXPECT_EQ(playing(), "Hall Hall/North Yard Hallway ") << "the other one is only reported again";
}

TEST_F(AnnouncementTest, IsCancelled) {
    Announcement first({"Hall"}, items("request-1", 500));
    EXPECT_EQ(textOf(first.cancel({})), "done");
    EXPECT_EQ(first.state(), State::Cancelled);

    Announcement second({"Hall"}, items("request-2", 500));
    Announcement third({"Hall"}, items("request-3", 500));
    third.waitUntilAccepted({});
    EXPECT_EQ(cancelAnnouncement("request-3", {}).ended.size(), 1U);
    const Cancellation all = cancelAnnouncements(Message::DICTIONARY, {});
    EXPECT_EQ(textOf(all.confirmation), "done");
    EXPECT_EQ(all.ended.at(0).getRequestID(), "request-2");
    EXPECT_FALSE(cancelAnnouncement("request-3", {}).confirmation.holds());
}

TEST_F(AnnouncementTest, IsNotCancelledWhenTheServerDoesNotConfirmIt) {
    Announcement first({"Hall"}, items("request-1", 500));
    first.waitUntilAccepted({});
    server.ignoreRequests(true);
    EXPECT_EQ(textOf(first.cancel({0ms})), "timed out");
    int ticks = 0;
    const auto refuse = [&](auto) { publish(++ticks == 1 ? "cancel-refused" : "lost stopped"); };
    EXPECT_EQ(textOf(first.cancel({1min, refuse})), "refused: not now");
    const Wait passing{1min, [this](auto) { advance(1s); }};
    EXPECT_EQ(textOf(first.cancel(passing)), "refused: finished before it could be cancelled");
    server.ignoreRequests(false);

    Announcement second({"Hall"}, items("request-2", 500));
    second.waitUntilAccepted({});
    server.ignoreRequests(true);
    EXPECT_EQ(textOf(cancelAnnouncement("request-2", passing).confirmation),
              "refused: request request-2 finished before it could be cancelled");
    server.ignoreRequests(false);

    Announcement third({"Hall"}, items("request-3", 500));
    third.waitUntilAccepted({});
    server.ignoreRequests(true);
    bool isDropped = false;
    const auto drop = [&](auto) { std::exchange(isDropped, true) ? void() : server.dropClient(); };
    const Cancellation lost = cancelAnnouncement("request-3", {1min, drop});
    EXPECT_EQ(lost.confirmation.state, Confirmation::State::ConnectionLost);
    EXPECT_TRUE(lost.ended.empty()) << "it plays on";
}

// ------------------------------------------------------------------------------------ the dry run

TEST_F(AnnouncementTest, ADryRunFindsWhatPreventsIt) {
    Announcement busy({"Hall/North"}, items("busy-request", 600));
    busy.waitUntilAccepted({});
    advance(0ms);
    Message relative = items("", 0);
    relative.setPriority({APM_RELATIVE_PRIORITY, 20});
    Message spoken;
    spoken.setAudioMessage("text", "en", "Amelia", Message::UTF_8);
    Message display;
    display.setVisualMessage("Main", {}, 30);
    Message chimes = items("", 600);
    chimes.setPreChime(12);
    chimes.setPostChime(99);
    const auto recorded = [](const std::string& path) {
        Message message;
        message.setPriority({APM_ABSOLUTE_PRIORITY, 600});
        message.setAudioMessage(path);
        return message;
    };
    const std::map<std::string, Message> messages = {
        {"500", items("", 500)},
        {"600", items("", 600)},
        {"13", items("", 600, {12, 13})},
        {"relative", relative},
        {"spoken", spoken},
        {"display", display},
        {"chimes", chimes},
        {"own", recorded("/own.wav")},
        {"none", recorded("/none.wav")},
    };
    const Playable playable = {{12}, {12}, {"/own.wav"}};
    // Of "message zones...", with a dot after those for which the server refuses.
    const auto findings = [&](const std::string& given) {
        std::istringstream words(given);
        std::string name;
        words >> name;
        const std::vector<std::string> zones{std::istream_iterator<std::string>(words), {}};
        std::string text;
        for (const Finding& finding : checkMessage(zones, messages.at(name), playable)) {
            text +=
                (text.empty() ? "" : "; ") + finding.text + (isRefused(finding.kind) ? "." : "");
        }
        return text;
    };
    expectTable(findings);
    gPaController.deleteFromTTS_Ports(0);
    EXPECT_EQ(findings("spoken"), "there is no voice 'Amelia' of the language 'en'.");
}

}  // namespace
