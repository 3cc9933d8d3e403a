#include "client/Announcement.h"

#include <mutex>
#include <stdexcept>

#include "client/checkMessage.h"
#include "framework/log.h"
#include "sdk/QXReceiver.h"
#include "tests/client/changes.h"
#include "tests/client/serverFixture.h"

namespace {

using namespace std::chrono_literals;
using paclient::Announcement;
using paclient::Change;
using paclient::Confirmation;
using paclient::Deleted;
using paclient::drop;
using paclient::Finding;
using paclient::linkChange;
using paclient::refusal;
using paclient::Updated;
using State = Announcement::State;
using Names = std::vector<std::string>;
using Connected = palink::ConnectionChange::State;

Message items(const std::string& id, int level, const std::vector<unsigned>& numbers = {12}) {
    Message message;
    message.setRequestID(id);
    message.setAudioMessage(numbers);
    message.setPriority({APM_ABSOLUTE_PRIORITY, level});
    return message;
}

// ------------------------------------------------------------------------- what changes amount to

AnnouncementRequest record(int id, const std::string& state, const std::string& code = "",
                           const std::string& requestId = "request-1") {
    AnnouncementRequest request;
    request.id = id;
    request.setRequestID(requestId);
    request.stateText = state;
    request.completionCode = code;
    return request;
}

Change update(int id, const std::string& state, const std::string& code = "") {
    return Updated<AnnouncementRequest>{record(id, state, code)};
}

Change withdrawal(int id, const std::string& state, const std::string& code = "") {
    return Deleted<AnnouncementRequest>{record(id, state, code)};
}

TEST(AnnouncementStates, FollowFromTheChanges) {
    using namespace pa::operations;
    const Change queued = update(1, "Queued");
    const Change playing = update(1, "Playing");
    const Change finished = update(1, "Finished", "0");
    const Change withdrawn = withdrawal(1, "Finished", "0");
    const Change otherPlaying = update(2, "Playing");
    const Change otherFinished = update(2, "Finished", "0");
    const Change otherWithdrawn = withdrawal(2, "Finished", "0");
    const Change lost = linkChange(Connected::Disconnected);
    const Change connected = linkChange(Connected::Connected);
    const Change synced = linkChange(Connected::Synced);
    struct Case {
        std::vector<Change> changes;
        State state;
        bool isOver;
        std::string reason;
    };
    const Case cases[] = {
        {{}, State::Sending, false, ""},
        {{update(1, "Preparing")}, State::Accepted, false, ""},
        {{queued}, State::Queued, false, ""},
        {{queued, otherPlaying}, State::Playing, false, ""},
        {{playing, finished, withdrawn}, State::Accepted, false, ""},
        {{finished, withdrawn, otherPlaying}, State::Playing, false, ""},
        {{finished, withdrawn, otherFinished, otherWithdrawn}, State::Finished, true, ""},
        {{update(1, "x", "1"), withdrawal(1, "x", "1"), otherFinished, otherWithdrawn},
         State::Cancelled,
         true,
         ""},
        {{finished, withdrawn, update(2, "x", "2"), withdrawal(2, "x", "2")},
         State::PreEmpted,
         true,
         ""},
        {{finished, withdrawn, update(2, "x", "77"), withdrawal(2, "x", "77")},
         State::Failed,
         true,
         ""},
        {{playing, withdrawal(1, "Playing"), otherFinished, otherWithdrawn},
         State::Unknown,
         true,
         "withdrawn without a result"},
        {{withdrawal(0, "")}, State::Failed, true, "not uploaded"},
        {{refusal(playMessage, "request-1")}, State::Refused, true, "not now"},
        {{refusal(playMessage, "")}, State::Refused, true, "not now"},
        {{refusal(playMessage, ""), playing},
         State::Playing,
         false,
         ""},  // that of another request
        {{refusal(playMessage, "request-2")}, State::Sending, false, ""},
        {{playing, refusal(playMessage, "")}, State::Playing, false, ""},
        {{playing, refusal(cancelMessage, "request-1")}, State::Playing, false, ""},
        {{drop(playMessage, "request-1")}, State::Failed, true, "not sent: the link was stopped"},
        {{drop(playMessage, "request-2"), drop(putSchedule, "request-1")},
         State::Sending,
         false,
         ""},
        {{lost}, State::Unknown, false, "the connection is lost"},
        {{playing, lost}, State::Unknown, false, "the connection is lost"},
        {{lost, connected, synced}, State::Unknown, true, "the connection was lost meanwhile"},
        {{lost, connected, synced, playing}, State::Playing, false, ""},
        {{playing, otherPlaying, lost, withdrawal(1, "Playing"), withdrawal(2, "Playing"),
          connected, playing, otherPlaying, synced},
         State::Playing,
         false,
         ""},
        {{playing, otherPlaying, lost, withdrawal(1, "Playing"), withdrawal(2, "Playing"),
          connected, otherPlaying, synced},
         State::Playing,
         false,
         ""},
        {{playing, otherFinished, otherWithdrawn, lost, withdrawal(1, "Playing"), connected,
          synced},
         State::Unknown,
         true,
         "the connection was lost meanwhile"},
        {{finished, otherFinished, lost, linkChange(Connected::Stopped)},
         State::Finished,
         true,
         ""},
        {{playing, lost, linkChange(Connected::Stopped)},
         State::Unknown,
         true,
         "the connection was lost meanwhile"},
    };
    gQXReceiver.close(0ms);  // nothing is to be sent
    pa::setLogSink([](const pa::LogLine&) {});
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        Message message = items("request-1", 500);
        message.setVisualMessage("Main", {}, 30);
        const Announcement announcement({"Hall"}, message);
        for (const Change& change : c.changes) {
            paclient::ChangeStream::instance().publish(change);
        }
        EXPECT_STREQ(nameOf(announcement.state()), nameOf(c.state));
        EXPECT_EQ(announcement.isOver(), c.isOver);
        if (c.state != State::Accepted) {
            EXPECT_EQ(announcement.reason(), c.reason);
        }
    }
    gQXReceiver.abandon();
    pa::setLogSink({});
}

// ------------------------------------------------------------------------- with a simulated server

simserver::Station station() {
    simserver::Station station;
    station.name = "Test";
    for (const char* const id : {"Hall", "Hall/North", "Yard", "Roof"}) {
        station.zones.push_back({id, 1});
    }
    station.zones.push_back({"Cellar", 3});
    station.sinks.resize(3);
    station.sinks[0].id = 1;
    station.sinks[0].zones = {"Hall/North", "Cellar"};
    station.sinks[1].id = 2;
    station.sinks[1].label = "Horn";
    station.sinks[1].health = 4;
    station.sinks[1].zones = {"Yard"};
    station.voices.push_back({4, "en", "anna", 48000, "", ""});
    station.dictionary.push_back({12, "Mind the gap", 2s, false});
    return station;
}

struct AnnouncementTest : ClientTest {
    AnnouncementTest() : ClientTest(station()) {}
};

/// Keeps what the callback is called with, as "audio playing".
class Notes {
public:
    Announcement::Callback callback() {
        return [this](State state, const Announcement::Part* part) {
            const std::lock_guard guard(lock_);
            lines_.push_back((part == nullptr ? "whole" : paclient::partName(part->record)) +
                             std::string(" ") + nameOf(state));
        };
    }
    Names lines() {
        const std::lock_guard guard(lock_);
        return lines_;
    }

private:
    std::mutex lock_;
    Names lines_;
};

Names playingZones(const Announcement& announcement) {
    Names ids;
    for (const Announcement::ZoneState& zone : announcement.zones()) {
        if (zone.isPlaying) {
            ids.push_back(zone.id);
        }
    }
    return ids;
}

TEST_F(AnnouncementTest, IsFollowedToItsEnd) {
    Notes notes;
    Announcement announcement({"Hall", "Yard"}, items("short", 500), notes.callback());
    EXPECT_EQ(announcement.requestId().size(), 36U);  // an id of this length is replaced
    EXPECT_NE(announcement.waitUntilAccepted({}), State::Sending);
    advance(0ms);
    EXPECT_EQ(announcement.state(), State::Playing);
    EXPECT_EQ(playingZones(announcement), (Names{"Hall", "Yard"}));
    EXPECT_THROW(Announcement({"Roof"}, items(announcement.requestId(), 500)),
                 std::invalid_argument);
    EXPECT_EQ(announcement.wait({0ms}), State::Playing);
    advance(2s);
    EXPECT_EQ(announcement.wait({}), State::Finished);
    EXPECT_EQ(announcement.reason(), "played to its end");
    EXPECT_EQ(playingZones(announcement), Names{});
    EXPECT_EQ(announcement.parts().size(), 1U);
    EXPECT_EQ(notes.lines(), (Names{"audio queued", "audio playing", "audio finished"}));
    EXPECT_EQ(announcement.cancel({}).state, Confirmation::State::AsBefore);
}

TEST_F(AnnouncementTest, LosesTheZonesThatAnotherOneTakes) {
    Announcement low({"Hall", "Hall/North", "Yard"}, items("low-priority", 500));
    low.waitUntilAccepted({});
    Announcement part({"Hall/North"}, items("part-of-it", 600));
    part.waitUntilAccepted({});
    advance(0ms);
    EXPECT_EQ(playingZones(low), (Names{"Hall", "Yard"}));
    Announcement high({"Hall"}, items("high-priority", 700));
    high.waitUntilAccepted({});
    advance(0ms);
    EXPECT_EQ(playingZones(low), (Names{"Yard"}));
    EXPECT_EQ(part.state(), State::PreEmpted);
    Message display;
    display.setVisualMessage("Main", {}, 30);
    display.setPriority({APM_ABSOLUTE_PRIORITY, 900});
    Announcement visual({"Yard"}, display);
    visual.waitUntilAccepted({});
    advance(0ms);
    EXPECT_EQ(playingZones(low), (Names{"Yard"}));
}

TEST_F(AnnouncementTest, IsCancelledAndRefused) {
    Announcement first({"Hall"}, items("request-1", 500));
    EXPECT_EQ(first.cancel({}).state, Confirmation::State::Done);
    EXPECT_EQ(first.state(), State::Cancelled);

    Announcement unknown({"Nowhere"}, items("request-2", 500));
    EXPECT_EQ(unknown.wait({}), State::Refused);
    EXPECT_NE(unknown.reason().find("Nowhere"), std::string::npos);

    Announcement third({"Hall"}, items("request-3", 500));
    Announcement fourth({"Hall"}, items("request-4", 500));
    fourth.waitUntilAccepted({});
    const auto one = paclient::cancelAnnouncement("request-4", {});
    EXPECT_EQ(one.ended.size(), 1U);
    const auto all = paclient::cancelAnnouncements(Message::DICTIONARY, {});
    EXPECT_EQ(all.confirmation.state, Confirmation::State::Done);
    EXPECT_EQ(all.ended.at(0).getRequestID(), "request-3");
    EXPECT_EQ(paclient::cancelAnnouncement("request-4", {}).confirmation.state,
              Confirmation::State::Refused);
}

TEST_F(AnnouncementTest, StopsWaitingWhenTheFunctionThrows) {
    server.ignoreRequests(true);
    Announcement announcement({"Hall"}, items("request-1", 500));
    const auto leave = [](std::chrono::milliseconds) { throw std::runtime_error("left"); };
    EXPECT_THROW(announcement.wait({10s, leave}), std::runtime_error);
    EXPECT_EQ(announcement.waitUntilAccepted({0ms}), State::Sending);
    EXPECT_EQ(announcement.cancel({0ms}).state, Confirmation::State::TimedOut);
}

// ------------------------------------------------------------------------------------ the dry run

TEST_F(AnnouncementTest, ADryRunFindsWhatPreventsIt) {
    Announcement busy({"Hall"}, items("busy-request", 600));
    busy.waitUntilAccepted({});
    advance(0ms);
    Message spoken;
    spoken.setAudioMessage("text", "en", "anna", Message::UTF_8);
    Message display;
    display.setVisualMessage("Main", {}, 30);
    using Kind = Finding::Kind;
    struct Case {
        Names zones;
        Message message;
        std::vector<std::pair<Kind, std::string>> findings;
    };
    const Case cases[] = {
        {{"Hall"}, items("x", 600), {}},
        {{"Hall"}, items("x", 599), {{Kind::BusyZone, "Hall"}}},
        {{"Hall/North"}, items("x", 599), {{Kind::BusyZone, "Hall/North"}}},
        {{"Hall"}, display, {}},
        {{"Nowhere", "Roof", "Yard", "Cellar"},
         items("x", 600),
         {{Kind::UnknownZone, "Nowhere"},
          {Kind::EmptyZone, "Roof"},
          {Kind::FaultyZone, "Yard"},
          {Kind::FaultyZone, "Cellar"}}},
        {{"Hall"}, items("x", 600, {12, 13}), {{Kind::UnknownItem, "13"}}},
        {{"Hall/North"}, spoken, {{Kind::BusyZone, "Hall/North"}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::vector<std::pair<Kind, std::string>> found;
        for (const Finding& finding : paclient::checkMessage(c.zones, c.message, {{12}})) {
            found.emplace_back(finding.kind, finding.subject);
            EXPECT_NE(finding.text.find(finding.subject), std::string::npos);
        }
        EXPECT_EQ(found, c.findings);
    }
    gPaController.deleteFromTTS_Ports(0);
    const auto found = paclient::checkMessage({}, spoken);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, Kind::UnknownVoice);
    EXPECT_TRUE(isRefused(found[0].kind));
    EXPECT_FALSE(isRefused(Kind::BusyZone));
}

}  // namespace
