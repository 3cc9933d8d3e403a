// One announcement on its whole way: application, controller, link, simulated server, and back.
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sndfile.h>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "simserver/protocol/RequestDecoder.h"
#include "tests/endToEnd/EndToEndFixture.h"
#include "tests/endToEnd/hostileTexts.h"
#include "tests/support/noPauses.h"

namespace {

using namespace std::chrono_literals;

/// Keeps what the controller notifies of announcements, each as "id: state".
class Watch : public pa::PAControllerObserverAdapter {
public:
    void onMessageUpdate(AnnouncementRequest request) override {
        const std::lock_guard guard(lock_);
        last_ = request;
        add(request.getRequestID() + ": " + request.stateText);
    }
    void onMessageDelete(AnnouncementRequest request) override {
        const std::lock_guard guard(lock_);
        add(request.getRequestID() + " over");
    }

    /// Waits until `line` has been noted.
    void waitFor(const std::string& line) {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [&] { return all_.find(line + "\n") != std::string::npos; });
    }
    std::string all() {
        const std::lock_guard guard(lock_);
        return all_;
    }
    AnnouncementRequest last() {
        const std::lock_guard guard(lock_);
        return last_;
    }
    void clear() {
        const std::lock_guard guard(lock_);
        all_.clear();
    }

private:
    void add(const std::string& line) {
        all_ += line + "\n";
        changed_.notify_all();
    }

    std::mutex lock_;
    std::condition_variable changed_;
    std::string all_;
    AnnouncementRequest last_;
};

Watch& watch() {
    return registered<Watch>();
}

simserver::Station station() {
    simserver::Station station;
    station.name = "Test";
    for (const std::string& id : hostileTexts) {
        station.zones.push_back({id, 1});
    }
    station.zones.push_back({"Hall", 1});
    station.zones.push_back({"Hall/North", 1});
    station.sinks.resize(1);
    station.sinks[0].zones = {"Hall/North", hostileTexts[0], hostileTexts[2]};
    station.sources.resize(1);
    station.voices.push_back({4, "en", "anna", 48000, "", ""});
    station.dictionary.push_back({12, "Mind the gap", 2s, false});
    return station;
}

struct AnnouncementTest : EndToEndFixture {
    AnnouncementTest() : EndToEndFixture(station()) {
        skipPauses();
        watch().clear();
        connect();
    }

    static void play(const std::string& id, int level, const Texts& zones) {
        Message message;
        message.setRequestID(id);
        message.setAudioMessage(std::vector<unsigned>{12});
        message.setPriority(MessagePriority(APM_ABSOLUTE_PRIORITY, level));
        gPaController.playMessage(zones, message);
    }

    static PaZone zoneNamed(const std::string& id) {
        for (const PaZone& zone : gPaController.getPaZones()) {
            if (zone.id == id) {
                return zone;
            }
        }
        ADD_FAILURE() << "no zone " << id;
        return {};
    }
};

TEST_F(AnnouncementTest, AHigherPriorityTakesTheZoneAndEachStateIsReported) {
    play("low-priority", 500, {"Hall"});
    watch().waitFor("low-priority: Playing");
    advance(1s);
    EXPECT_EQ(zoneNamed("Hall/North").activity, 1);
    EXPECT_EQ(gPaController.getPaSinks().at(0).state, PaSink::ACTIVE);

    play("high-priority", 600, {"Hall"});
    watch().waitFor("low-priority over");
    watch().waitFor("high-priority: Playing");
    advance(2s);
    EXPECT_EQ(watch().last().completionCode, "0");
    EXPECT_EQ(watch().all(),
              "low-priority: Queued\nlow-priority: Playing\n"
              "high-priority: Queued\nlow-priority: Pre-empted\nlow-priority over\n"
              "high-priority: Playing\nhigh-priority: Finished\nhigh-priority over\n");
    EXPECT_TRUE(gPaController.getAnnouncementRequests().empty());
    EXPECT_EQ(zoneNamed("Hall/North").activity, 0);
    EXPECT_EQ(gPaController.getPaSinks().at(0).state, PaSink::IDLE);
}

TEST_F(AnnouncementTest, HostileZoneNamesComeBackAsTheyWere) {
    for (std::size_t i = 0; i < hostileTexts.size(); ++i) {
        EXPECT_EQ(gPaController.getPaZones()[i].id, hostileTexts[i]);
    }
    EXPECT_EQ(zoneNamed(hostileTexts[2]).getMembers().size(), 1U);
    play("hostile", 500, hostileTexts);
    watch().waitFor("hostile: Playing");
    EXPECT_EQ(watch().last().zones, hostileTexts);
}

/// Takes the place of the link and keeps the payload of what is sent.
class Capture : public pa::OperationSender, private pa::DropListener {
public:
    Capture() {
        gQXReceiver.open(*this);
        gQXReceiver.connect(*this);
    }
    ~Capture() override {
        gQXReceiver.abandon();
        gQXReceiver.forget(*this);
    }

    bool sendOperation(const pa::Operation& operation) override {
        const std::lock_guard guard(lock_);
        payload_ = operation.payload;
        changed_.notify_all();
        return true;
    }
    /// What the simulated server reads in the next request.
    simserver::RequestPart nextPart() {
        std::unique_lock guard(lock_);
        changed_.wait(guard, [this] { return !payload_.empty(); });
        simserver::PlayRequest request;
        simserver::decodePlay(std::exchange(payload_, {}), request);
        return request.parts.at(0);
    }

private:
    void operationDropped(const pa::DroppedOperation& /*dropped*/) override {}

    std::mutex lock_;
    std::condition_variable changed_;
    std::string payload_;
};

TEST(HostileTexts, ArriveByteForByteInEveryPlace) {
    pa::RecordList voice({"en", "anna", "48000"});
    gPaController.updateFromTTS_Ports(4, voice.list());
    Capture capture;
    for (const std::string& text : hostileTexts) {
        Message spoken;
        spoken.setAudioMessage(text, "en", "anna", Message::UTF_8);
        spoken.setAudioMessage("after it", "en", "anna", Message::UTF_8);
        spoken.playAnnouncement({text, "Hall"});
        const simserver::RequestPart audio = capture.nextPart();
        EXPECT_EQ(audio.zones, (Texts{text, "Hall"}));
        const auto& texts = std::get<simserver::SpokenContent>(audio.content).texts;
        ASSERT_EQ(texts.size(), 2U);
        EXPECT_EQ(texts[0].text, text);
        EXPECT_EQ(texts[1].text, "after it");

        Message visual;
        visual.setVisualMessage("Main", {{"LINE", {{text, 5}}}}, 30);
        visual.playAnnouncement({"Hall"});
        const simserver::RequestPart visualPart = capture.nextPart();
        const auto json =
            nlohmann::json::parse(std::get<simserver::TemplateContent>(visualPart.content).json);
        EXPECT_EQ(json["kvPairs"]["LINE"]["values"][0]["text"].get<std::string>(), text);
        EXPECT_EQ(json["validity"], 30);
    }
}

}  // namespace
