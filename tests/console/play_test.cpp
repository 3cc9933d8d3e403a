#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "console/following/Changes.h"
#include "console/following/RequestFollower.h"
#include "console/interrupt.h"
#include "sdk/PAController.h"
#include "tests/console/consoleRun.h"
#include "tests/console/testFiles.h"

namespace {

using namespace console;
using Words = std::vector<std::string>;

/// The third words of the lines that follow the request id: the states.
Words statesIn(const std::string& out) {
    Words states;
    const auto lines = linesOf(out);
    for (std::size_t i = 1; i < lines.size(); ++i) {
        std::istringstream line(lines[i]);
        std::string time;
        std::string unit;
        std::string part;
        std::string state;
        line >> time >> unit >> part >> state;
        states.push_back(part.append(" ").append(state));
    }
    return states;
}

TEST(Play, followsEachKindOfContentToItsEnd) {
    const TestFolder folder;
    const Words heard = {"audio Queued", "audio Playing", "audio Finished:"};
    const std::pair<Words, Words> cases[] = {
        {{"--items", "12,40", "--repeat", "2", "--pre-chime", "1"}, heard},
        {{"--text", "Mind the gap", "--language", "en", "--voice", "Amelia"}, heard},
        {{"--text", "Vorsicht", "--text", "bitte", "--language", "DE"}, heard},
        {{"--file", folder.writeWav("gong.wav", 48000)}, heard},
        {{"--display", "Main", "--var", "A=1", "--validity", "1"},
         {"visual Queued", "visual Playing", "visual Finished:"}},
        {{"--items", "12", "--display", "Main", "--validity", "0"}, heard},
    };
    for (const auto& [content, states] : cases) {
        SCOPED_TRACE(content[0]);
        Words words = {"play",   "--zones",      "Platform 1,Concourse",
                       "--wait", "--request-id", "request-1"};
        words.insert(words.end(), content.begin(), content.end());
        const Ran ran = runConsole(words);
        EXPECT_EQ(ran.code, 0);
        EXPECT_EQ(ran.err, "");
        EXPECT_EQ(linesOf(ran.out).at(0), "request-1");
        EXPECT_EQ(statesIn(ran.out), states);
    }
}

TEST(Play, followsBothPartsOfARequest) {
    const Ran ran = runConsole({"play", "--zones", "Concourse", "--wait", "--items", "12",
                                "--display", "Main", "--validity", "100", "--format", "json"});
    EXPECT_EQ(ran.code, 0);
    std::vector<std::string> finished;
    for (const std::string& line : linesOf(ran.out)) {
        const auto parsed = nlohmann::json::parse(line);
        if (parsed.value("completionCode", "") == "0") {
            finished.push_back(parsed["part"]);
        }
    }
    EXPECT_EQ(finished, (Words{"audio", "visual"}));
}

TEST(Play, tellsWhatTheServerWillNotDo) {
    const TestFolder folder;
    const auto recording = folder.writeWav("gong.wav", 100);
    std::filesystem::create_directories(folder.path() / "spool" / "gong.wav" / "taken");
    const Ran item = runConsole({"play", "--zones", "Concourse", "--items", "9999"});
    EXPECT_EQ(item.code, 4);
    EXPECT_TRUE(contains(item.err, "9999")) << item.err;
    EXPECT_EQ(item.out, "");
    const Ran upload = runConsole({"play", "--zones", "Concourse", "--file", recording, "--spool",
                                   (folder.path() / "spool").string()});
    EXPECT_EQ(upload.code, 4);
    EXPECT_TRUE(contains(upload.err, "not uploaded")) << upload.err;
}

TEST(Play, givesUpInTime) {
    const Ran ran = runConsole({"play", "--zones", "Concourse", "--items", "12", "--repeat",
                                "100000", "--wait", "--timeout", "0.3"});
    EXPECT_EQ(ran.code, 5);
    EXPECT_TRUE(contains(ran.err, "unknown")) << ran.err;
}

/// Runs a play that would last for hours, and does something once it plays.
template <class Action>
Ran playAndThen(Action action) {
    Changes changes;
    Ran ran;
    std::thread console([&ran] {
        ran = runConsole({"play", "--zones", "Concourse", "--items", "12", "--repeat", "1000000",
                          "--request-id", "request-1", "--wait", "--timeout", "20"});
    });
    RequestFollower follower("request-1", 1);
    bool isPlaying = false;
    while (!isPlaying) {
        const auto change = changes.next(std::chrono::seconds(10));
        if (!change) {
            ADD_FAILURE() << "it does not play";
            break;
        }
        const auto news = follower.take(*change);
        isPlaying = news && news->stateText == "Playing";
    }
    action();
    console.join();
    return ran;
}

TEST(Play, endsWithItsReasonWhenSomebodyElseEndsIt) {
    const Ran cancelled = playAndThen([] { gPaController.cancelMessage("request-1"); });
    EXPECT_EQ(cancelled.code, 4);
    EXPECT_TRUE(contains(cancelled.err, "request request-1 cancelled")) << cancelled.err;

    const Ran preEmpted = playAndThen([] {
        Message message;
        message.setAudioMessage(std::vector<unsigned>{12});
        message.setPriority({APM_ABSOLUTE_PRIORITY, 900});
        gPaController.playMessage({"Concourse"}, message);
    });
    EXPECT_EQ(preEmpted.code, 4);
    EXPECT_TRUE(contains(preEmpted.err, "request request-1 pre-empted")) << preEmpted.err;
}

/// A record of the request "request-1".
Change record(Change::Kind kind, int id, const std::string& state, const std::string& code) {
    AnnouncementRequest request;
    request.id = id;
    request.setRequestID("request-1");
    request.stateText = state;
    request.completionCode = code;
    return {kind, "", request};
}

TEST(RequestFollower, judgesARequestByTheWorstOfItsParts) {
    using Kind = Change::Kind;
    const Change playing = record(Kind::Update, 1, "Playing", "");
    const Change finished = record(Kind::Update, 1, "Finished", "0");
    const Change gone = record(Kind::Delete, 1, "Finished", "0");
    const Change otherFailed = record(Kind::Update, 2, "Failed", "3");
    const Change otherOdd = record(Kind::Update, 2, "?", "77");
    const Change otherFinished = record(Kind::Update, 2, "Finished", "0");
    const Change otherGone = record(Kind::Delete, 2, "", "");
    const auto refusal = [](const std::string& id, int operation) {
        return Change{Kind::Refusal, "", palink::Refusal{{92, operation}, id, "no"}};
    };
    struct Case {
        std::vector<Change> changes;
        bool isOver;
        Outcome outcome;
    };
    const Case cases[] = {
        {{}, false, Outcome::Open},
        {{playing, finished, gone}, false, Outcome::Open},
        {{finished, gone, otherFinished}, false, Outcome::Open},
        {{finished, otherFinished, gone, otherGone}, true, Outcome::Finished},
        {{otherFailed, otherGone, finished, gone}, true, Outcome::Failed},
        {{otherOdd, otherGone, finished, gone}, true, Outcome::Failed},
        {{otherFailed, playing}, false, Outcome::Failed},
        {{playing, gone, otherFinished, otherGone}, true, Outcome::Withdrawn},
        {{record(Kind::Delete, 0, "", "")}, true, Outcome::NotUploaded},
        {{refusal("request-1", 17)}, true, Outcome::Refused},
        {{refusal("", 17)}, true, Outcome::Refused},
        {{refusal("request-2", 17)}, false, Outcome::Open},
        {{playing, refusal("", 17)}, false, Outcome::Open},
        {{playing, refusal("request-1", 18)}, false, Outcome::Open},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        RequestFollower follower("request-1", 2);
        for (const Change& change : c.changes) {
            follower.take(change);
        }
        EXPECT_EQ(follower.isOver(), c.isOver);
        EXPECT_EQ(follower.outcome(), c.outcome) << follower.summary();
    }
}

TEST(InterruptDeathTest, endsACommandCleanly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            interrupt::install();
            std::raise(SIGTERM);
            std::exit(console::run({"monitor"}, {std::cout, std::cerr}));
        },
        testing::ExitedWithCode(130), "^paconsole: interrupted\n$");
}

}  // namespace
