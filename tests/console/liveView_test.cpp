#include "console/LiveView.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "console/cleanText.h"
#include "tests/console/consoleRun.h"

namespace {

/// A terminal of a chosen size that nobody looks at.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        grantpt(master_);
        unlockpt(master_);
        descriptor_ = open(ptsname(master_), O_RDWR | O_NOCTTY);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        close(descriptor_);
        close(master_);
    }

    void resize(unsigned short columns, unsigned short rows) const {
        const winsize size = {rows, columns, 0, 0};
        ASSERT_EQ(ioctl(descriptor_, TIOCSWINSZ, &size), 0);
    }

    int descriptor() const { return descriptor_; }

private:
    int master_;
    int descriptor_;
};

TEST(LiveView, staysWithinTheTerminalAndReturnsTheCursor) {
    const Terminal terminal;
    std::ostringstream text;
    console::Output out(text);
    const auto drawn = [&text] {
        std::string result = text.str();
        text.str("");
        return result;
    };
    {
        console::LiveView view(out, terminal.descriptor());
        EXPECT_EQ(drawn(), "\x1b[?25l");

        terminal.resize(10, 4);
        view.draw({"Platform 1 is busy", "駅駅駅駅駅", "3", "4"});
        EXPECT_EQ(drawn(), "\rPlatform\x1b[K\n駅駅駅駅\x1b[K\n3\x1b[K\n\x1b[J");
        view.draw({"one"});
        EXPECT_EQ(drawn(), "\r\x1b[3Aone\x1b[K\n\x1b[J");

        terminal.resize(3, 4);
        view.draw({"one"});
        EXPECT_EQ(drawn(), "\x1b[H\x1b[2Jon\x1b[K\n\x1b[J");
        terminal.resize(3, 1);
        view.draw({"one"});
        EXPECT_EQ(drawn(), "\r\x1b[J");
    }
    EXPECT_EQ(drawn(), "\x1b[?25h");
}

}  // namespace
