#include "simserver/audio/Synthesizer.h"

#include <csignal>
#include <stdexcept>

#include "simserver/audio/ChildProcess.h"
#include "simserver/audio/SpeakableText.h"
#include "tests/simserver/FakeSynthesizer.h"

namespace {

using namespace simserver;

TEST(SpeakableText, HoldsNoCommandsAndNoPhonemes) {
    EXPECT_EQ(speakable("a\001b\x7F\n\xC3\xA9"), "a b  \xC3\xA9");
    EXPECT_EQ(speakable("\xC0\x80 \xFF\xE2\x82z\xF5\xA9\xF0\x9F\x9A\x8B\xE2\x82"),
              "      z  \xF0\x9F\x9A\x8B  ");
    EXPECT_EQ(speakable("[\xC2\xAD[h@]]"), "[ \xC2\xAD[ h@]]");  // the hyphen cannot be seen
}

/// A program that echoes reads no more while nobody takes what it has written.
TEST(Synthesizer, HearsWhileItSends) {
    const FakeSynthesizer fake(echoes);
    std::string text(1'000'001, '\xC3');  // half a sample too many
    for (std::size_t i = 1; i < text.size(); i += 2) {
        text[i] = '\xA9';
    }
    double heard = 0;
    const auto sound =
        speak("en", text, [&heard](double seconds) { return (heard = seconds) >= 0; });
    ASSERT_TRUE(sound);
    EXPECT_EQ(sound->rate, 8000);
    EXPECT_EQ(sound->samples, std::vector<float>(500'000, (0xA9C3 - 0x10000) / 32768.0F));
    EXPECT_NEAR(heard, 62.5, 0.001);
}

TEST(Synthesizer, EndsWhatIsGivenUp) {
    const FakeSynthesizer fake("echo $$ > \"${0%/*}/pid\"\necho\nexec /bin/sleep 600");
    pid_t pid = 0;
    const auto hasBegun = [&] {
        return static_cast<bool>(std::ifstream(fake.folder.path / "pid") >> pid);
    };
    EXPECT_FALSE(speak("en", "Hi", [&](double) { return !hasBegun(); }));
    EXPECT_EQ(kill(pid, 0), -1) << pid;  // nothing is left of it
    std::filesystem::remove(fake.folder.path / "pid");
    const auto throwing = [&](double) { return hasBegun() ? throw std::domain_error("") : true; };
    EXPECT_THROW(speak("en", "Hi", throwing), std::domain_error);
    EXPECT_EQ(kill(pid, 0), -1) << pid;
}

/// One that says no more, and one that has closed its output.
TEST(ChildProcess, IsKilledWhenItHangs) {
    for (const char* const script :
         {"echo $$; exec sleep 600", "echo $$; exec sleep 600 <&- >&-"}) {
        const auto end = runProgram(
            {"sh", "-c", script}, "", [](const auto&) { return true; },
            std::chrono::milliseconds(50));
        ASSERT_TRUE(end);
        EXPECT_EQ(end->exitCode, std::nullopt) << script;
        EXPECT_EQ(kill(std::stoi(end->output), 0), -1) << script;
    }
}

}  // namespace
