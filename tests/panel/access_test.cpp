// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <numeric>
#include <stdlib.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "framework/log.h"
#include "panel/access/SessionCookie.h"
#include "panel/access/Sessions.h"
#include "panel/access/UserFile.h"
#include "panel/access/userCommand.h"
#include "panel/http/ApiError.h"
#include "tests/panel/hostTime.h"
#include "tests/support/TestFolder.h"
#include "tests/support/tables.h"
#include "tests/support/thrownBy.h"
#include "util/Descriptor.h"

namespace {

using namespace papanel;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

// Of the cheapest kind, made by crypt(3).
const std::string horse =
    "$y$j75$VvvIR0ZnlSzPQHj1WddHe.$/v11QCVZvNuwk0aAQ.rNHHcpFfQOdAam1iPSGt7qrlB";
const std::string cow = "$y$j75$VvvIR0ZnlSzPQHj1WddHe.$t4SNhjFNBd2bvYLjfYQvBxWbVPlrfl6g6FCAge9yzk2";

struct AccessTest : HostTimeTest {
    AccessTest() {
        fs::create_directory(file.parent_path());
        write("ann:operator:" + horse + "\nbob:monitor:" + cow + '\n');
        pa::setLogSink([this](const pa::LogLine& line) {
            logged += line.kind == pa::LogLine::Kind::Error ? line.text + '\n' : "";
        });
    }
    ~AccessTest() override { pa::setLogSink({}); }

    /// Replaces the file, so that it is another one.
    void write(const std::string& content) const {
        fs::remove(file);
        chmod(folder.write("panel/users", content).c_str(), 0600);
    }

    const TestFolder folder;
    const fs::path file = folder.path() / "panel/users";
    std::string logged;
};

// ----------------------------------------------------------------------------------------- users

TEST(UserLines, NameTheLineThatIsWrong) {
    expectTable([](const std::string& text) {
        const std::string lines = std::regex_replace(
            std::regex_replace(text, std::regex(" / "), "\n"), std::regex("HASH"), horse);
        std::string names;
        for (const User& user : UserLines(lines).users()) {
            names += (names.empty() ? "" : " ") + user.name + ' ' + roleName(user.role);
        }
        return names;
    });
}

TEST_F(AccessTest, AFileThatChangesIsReadAgainAndABrokenOneChangesNothing) {
    UserFile users(file);
    ASSERT_TRUE(users.find("ann") && users.find("bob") && !users.find("cid"));
    write("# of the night\n\nann:monitor:" + horse + '\n');
    EXPECT_EQ(users.find("ann")->role, Role::Monitor);
    EXPECT_FALSE(users.find("bob"));
    write("ann:operator:" + horse + "\ncid:monitor\n");
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(users.find("ann")->role, Role::Monitor);
    }
    EXPECT_EQ(logged, "the file of users " + file.string() +
                          ": line 2: NAME:ROLE:HASH is expected; the users are those of before\n");
    const std::size_t reported = logged.size();
    EXPECT_FALSE(users.readAgain());
    EXPECT_EQ(logged.size(), 2 * reported);
    logged.clear();
    chmod(file.c_str(), 0640);
    EXPECT_TRUE(users.find("ann") && users.find("ann"));
    EXPECT_EQ(logged, "the file of users " + file.string() +
                          ": others than its owner may use it: chmod 600 it;"
                          " the users are those of before\n");
    fs::remove(file);
    EXPECT_TRUE(users.find("ann"));
    write("");
    EXPECT_TRUE(users.readAgain() && !users.find("ann"));
    for (const fs::path& unusable :
         {folder.path() / "missing", folder.path(), fs::path("/dev/zero")}) {
        EXPECT_THROW(UserFile{unusable}, std::runtime_error) << unusable;
    }
}

/// Types each line when it is asked for, at a terminal.
class TypingBuffer final : public std::stringbuf {
public:
    explicit TypingBuffer(std::vector<std::string> lines) : lines_(std::move(lines)) {}

    int terminal() const { return slave_.number(); }

    /// What the terminal has shown.
    std::string shown() const {
        fcntl(master_.number(), F_SETFL, O_NONBLOCK);
        std::string text(1000, '\0');
        const ssize_t count = read(master_.number(), text.data(), text.size());
        return text.substr(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }

private:
    int sync() override {
        if (next_ < lines_.size()) {
            const std::string& line = lines_[next_++];
            EXPECT_FALSE(master_.write(line.data(), line.size()));
        }
        return 0;
    }

    static int slaveOf(int master) {
        grantpt(master);
        unlockpt(master);
        return open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }

    const std::vector<std::string> lines_;
    std::size_t next_ = 0;
    const pautil::Descriptor master_{posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
    const pautil::Descriptor slave_{slaveOf(master_.number())};
};

TEST_F(AccessTest, UsersAreChangedByCommands) {
    write("# kept\n");
    expectTable([this](const std::string& line) {
        const std::size_t input = line.find(" < ");
        std::istringstream words(line.substr(0, input) + " --users " + file.string());
        std::istringstream in(input == std::string::npos ? "" : line.substr(input + 3) + '\n');
        std::ostringstream out;
        std::ostringstream errors;
        const std::vector<std::string> given{std::istream_iterator<std::string>(words), {}};
        const int code = runUserCommand(given, in, out, errors, -1);
        const std::string text = ' ' + out.str() + errors.str();
        return std::to_string(code) +
               std::regex_replace(text.substr(0, text.size() - 1), std::regex("\n"), " ");
    });
    struct stat status {};
    stat(file.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    UserFile users(file);
    const auto ann = users.find("ann");
    EXPECT_TRUE(isPassword("battery staple", ann->hash));
    EXPECT_FALSE(isPassword("correct horse", ann->hash));
    const std::string content = (std::ostringstream() << std::ifstream(file).rdbuf()).str();
    EXPECT_EQ(content, "# kept\nann:monitor:" + ann->hash + '\n');
}

TEST_F(AccessTest, APasswordIsTypedTwiceWithoutEcho) {
    const std::vector<std::tuple<std::vector<std::string>, int, std::string>> cases = {
        {{"secret words\n", "secret words\n"}, 0, "Password: Again: "},
        {{"secret words\n", "secret wards\n"},
         1,
         "Password: Again: papanel: the two passwords differ\n"},
        {{"secret\n"}, 1, "Password: papanel: a password has 8 to 256 bytes\n"},
        {{"secret\x03"}, 130, "Password: papanel: interrupted\n"},
    };
    for (const auto& [lines, code, said] : cases) {
        TypingBuffer typing(lines);
        std::ostream errors(&typing);
        std::istringstream none;
        const std::vector<std::string> words = {"password", "ann", "--users", file.string()};
        EXPECT_EQ(runUserCommand(words, none, errors, errors, typing.terminal()), code);
        EXPECT_EQ(typing.str(), said);
        EXPECT_EQ(typing.shown().find("secret"), std::string::npos);
        termios after{};
        tcgetattr(typing.terminal(), &after);
        EXPECT_TRUE(after.c_lflag & ECHO);
        EXPECT_EQ(isPassword("secret words", UserFile(file).find("ann")->hash), true);
    }
}

// ---------------------------------------------------------------------------------------- logins

TEST_F(AccessTest, APauseGrowsWithTheFailuresOfAnAddressOrAUserName) {
    UserFile users(file);
    Sessions sessions(&users);
    const auto attempt = [&](const std::string& line) {  // SECONDS-LATER USER PASSWORD ADDRESS
        std::istringstream words(line);
        int seconds = 0;
        std::string user;
        std::string password;
        std::string address;
        words >> seconds >> user >> password >> address;
        pass(std::chrono::seconds(seconds));
        try {
            return sessions.logIn(user, password == "right" ? "correct horse" : password, address)
                .session.user;
        } catch (const ApiError& refused) {  // and the seconds to wait
            const Json pause = refused.details.value("retryAfter", Json());
            return refused.code + (pause.is_null() ? "" : ' ' + pause.dump());
        }
    };
    expectTable(attempt);
    EXPECT_EQ(sessions.refusedLogins(), 24U);
}

TEST_F(AccessTest, FailuresAreKeptWithinBounds) {
    LoginThrottle throttle;
    const auto isPaused = [&] {
        return thrownBy<ApiError>([&] { throttle.check("first", "first"); }) != "nothing thrown";
    };
    for (int failure = 0; failure < 12; ++failure) {
        throttle.failed("first", "first");
    }
    pass(1s);
    for (std::size_t other = 1; other < LoginThrottle::mostKept; ++other) {
        throttle.failed(std::to_string(other), std::to_string(other));
    }
    EXPECT_TRUE(isPaused());
    throttle.failed("one more", "one more");
    EXPECT_FALSE(isPaused());
}

TEST_F(AccessTest, ASessionEndsWithItsTimeItsUserAndTheirNumber) {
    UserFile users(file);
    Sessions sessions(&users, {12h, 48h, 2, 3});
    std::multiset<std::string> ends;
    sessions.onEnd([&](const std::string& id, const std::string& why) {
        EXPECT_EQ(id.size(), 64U);
        ends.insert(why + '\n');
    });
    const auto begin = [&](const char* user) {
        const NewSession begun =
            sessions.logIn(user, *user == 'a' ? "correct horse" : "another horse", "192.0.2.1");
        EXPECT_NE(begun.session.id, begun.token);
        EXPECT_NE(begun.session.csrf, begun.token);
        return begun.token;
    };
    const auto ended = [&] {
        const auto all = std::exchange(ends, {});
        return std::accumulate(all.begin(), all.end(), std::string());
    };

    const std::string first = begin("ann");
    const Session session = sessions.find(first).value();
    EXPECT_TRUE(session.user == "ann" && session.role == Role::Operator);
    EXPECT_TRUE(isCsrfToken(session, session.csrf));
    EXPECT_FALSE(isCsrfToken(session, "") || isCsrfToken(session, session.csrf + '0'));
    for (const std::string& none : {std::string(), session.id, std::string(64, '0')}) {
        EXPECT_FALSE(sessions.find(none));
    }
    for (int use = 0; use < 4; ++use) {
        pass(12h - 1ms);
        EXPECT_EQ(sessions.find(first).has_value(), true) << use;
    }
    pass(4ms);
    EXPECT_FALSE(sessions.find(first));
    EXPECT_EQ(ended(), "old\n");
    const std::string idle = begin("ann");
    pass(12h);
    sessions.endExpired();
    EXPECT_EQ(ended(), "idle\n");
    EXPECT_FALSE(sessions.find(idle));

    const std::string used = begin("ann");
    const std::string open = begin("ann");
    const std::string openId = sessions.find(open)->id;
    pass(1s);
    EXPECT_TRUE(sessions.find(used));
    pass(1s);
    sessions.notePage(openId);
    begin("ann");  // the third of the user
    EXPECT_TRUE(sessions.find(open) && !sessions.find(used));
    pass(1s);
    const std::string bobs = begin("bob");
    begin("bob");  // the fourth of all
    EXPECT_EQ(sessions.count(), 3U);
    EXPECT_EQ(ended(), "displaced\ndisplaced\n");

    write("ann:monitor:" + horse + "\nbob:monitor:" + horse + '\n');
    EXPECT_FALSE(sessions.find(bobs));
    sessions.endExpired();
    EXPECT_EQ(ended(),
              "password\npassword\n"
              "role\n");
    EXPECT_EQ(sessions.count(), 0U);
    begin("ann");
    write("");
    sessions.endExpired();
    EXPECT_EQ(ended(), "removed\n");
    EXPECT_THROW(sessions.beginLocal(), std::logic_error);
}

TEST(SessionCookie, IsFoundAmongOthersAndKeptFromScripts) {
    const SessionCookie clear(81, false);
    expectTable([&clear](const std::string& header) { return clear.tokenIn(header); });
    EXPECT_EQ(clear.set(""), "papanel-81=; HttpOnly; SameSite=Strict; Path=/; Max-Age=0");
    EXPECT_EQ(SessionCookie(443, true).set("t"),
              "__Host-papanel-443=t; HttpOnly; SameSite=Strict; Path=/; Secure");
}

}  // namespace
