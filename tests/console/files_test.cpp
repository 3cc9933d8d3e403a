// SPDX-License-Identifier: Apache-2.0
#include "operating/wavFile.h"
#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

TEST(WavFormat, isText) {
    EXPECT_EQ(paoperating::formatText({48000, 1, 16, 1.516}),
              "WAV, 48000 Hz, mono, 16 bit, 1.52 s");
    EXPECT_EQ(paoperating::formatText({44100, 2, 0, 60}), "WAV, 44100 Hz, stereo, 60.00 s");
    EXPECT_EQ(paoperating::formatText({8000, 6, 24, 0}),
              "WAV, 8000 Hz, 6 channels, 24 bit, 0.00 s");
}

TEST(Preview, leavesTheFileAsItIsWhenItFails) {
    const TestFolder folder;
    const std::string out = folder.write("gap.wav", "before");
    std::string endless;
    for (int i = 0; i < 300; ++i) {
        endless += "mind the gap ";
    }
    for (const std::string& text : {std::string("   "), endless}) {
        const Ran ran =
            runConsole({"preview", text, "--language", "en", "--voice", "Amelia", "--out", out});
        EXPECT_EQ(ran.code, 4);
        EXPECT_EQ(linesOf(ran.err).size(), 1U) << ran.err;
        EXPECT_EQ(ran.out, "");
        std::ostringstream content;
        content << std::ifstream(out).rdbuf();
        EXPECT_EQ(content.str(), "before");
        EXPECT_EQ(folder.files(), 1);
    }
}

}  // namespace
