#include "console/following/LiveView.h"

#include <sstream>

#include "tests/console/consoleRun.h"

namespace {

TEST(LiveView, staysWithinTheTerminalAndReturnsTheCursor) {
    std::ostringstream text;
    console::Output out(text);
    const auto drawn = [&text] {
        std::string result = text.str();
        text.str("");
        return result;
    };
    {
        console::LiveView view(out);
        EXPECT_EQ(drawn(), "\x1b[?25l");

        view.draw({"Platform 1 is busy", "駅駅駅駅駅", "3", "4"}, {10, 4});
        EXPECT_EQ(drawn(), "\rPlatform\x1b[K\n駅駅駅駅\x1b[K\n3\x1b[K\n\x1b[J");
        view.draw({"one"}, {10, 4});
        EXPECT_EQ(drawn(), "\r\x1b[3Aone\x1b[K\n\x1b[J");

        view.draw({"one"}, {3, 4});
        EXPECT_EQ(drawn(), "\x1b[H\x1b[2Jon\x1b[K\n\x1b[J");
        view.draw({"one"}, {3, 1});
        EXPECT_EQ(drawn(), "\r\x1b[J");
    }
    EXPECT_EQ(drawn(), "\x1b[?25h");
}

}  // namespace
