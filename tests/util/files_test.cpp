// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "util/AtomicFile.h"
#include "util/FileError.h"
#include "util/TemporaryFolder.h"
#include "util/fileUri.h"
#include "util/userFile.h"

namespace {

namespace fs = std::filesystem;
using Characters = std::istreambuf_iterator<char>;

/// @return the message
template <class Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (const pautil::FileError& error) {
        return error.what();
    }
    return "no failure";
}

struct FileTest : testing::Test {
    std::ptrdiff_t entries() const {
        return std::distance(fs::directory_iterator(path), fs::directory_iterator());
    }
    const pautil::TemporaryFolder folder{"pautil-test"};
    const fs::path path = folder.path();
};

TEST(UserFile, IsWhereTheEnvironmentHasThoseOfTheUser) {
    const auto with = [](const char* state, const char* home) {
        setenv("PA_TEST_STATE", state, 1);
        setenv("HOME", home, 1);
        return pautil::userFile("PA_TEST_STATE", ".local/state", "program/history");
    };
    const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    EXPECT_EQ(with("/state", "/home/ann"), "/state/program/history");
    EXPECT_EQ(with("relative", "/home/ann"), "/home/ann/.local/state/program/history");
    EXPECT_EQ(with("", ""), "");
    setenv("HOME", home.c_str(), 1);
}

TEST_F(FileTest, IsReplacedOnlyWhenItIsComplete) {
    const fs::path original = path / "original";
    const fs::path place = path / "place";
    const fs::path link = path / "link";
    std::ofstream(original) << "the new content";
    fs::permissions(original, fs::perms::owner_read);
    std::ofstream(place) << "the old";
    fs::permissions(place, fs::perms(0640));
    fs::create_symlink(place, link);
    const auto fill = [&] { pautil::AtomicFile(link).fillFrom(original); };
    EXPECT_EQ(failureOf(fill), "no failure") << "but it is abandoned";

    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    const rlimit few{10, unlimited.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &few);
    EXPECT_EQ(failureOf(fill), place.string() + " cannot be written: File too large");
    setrlimit(RLIMIT_FSIZE, &unlimited);

    EXPECT_EQ(failureOf([&] { pautil::AtomicFile(place).fillFrom("/nonexistent"); }),
              "/nonexistent cannot be read: No such file or directory");
    EXPECT_EQ(std::string(Characters(std::ifstream(place).rdbuf()), Characters()), "the old");
    EXPECT_EQ(entries(), 3) << "no draft is left";

    pautil::AtomicFile file(link);
    file.fillFrom(original);
    file.fillWith("new");
    file.complete();
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(std::string(Characters(std::ifstream(place).rdbuf()), Characters()), "new");
    EXPECT_EQ(fs::status(place).permissions(), fs::perms(0640));
    EXPECT_EQ(entries(), 3);
}

TEST_F(FileTest, IsBegunWhereItCanBeCompleted) {
    const pautil::Descriptor opened(open((path / "open").c_str(), O_WRONLY | O_CREAT, 0600));
    const fs::path openFile = "/dev/fd/" + std::to_string(opened.number());
    fs::create_symlink(openFile, path / "link");
    const std::pair<fs::path, std::string> cases[] = {
        {path / "missing/file", "cannot be written: No such file or directory"},
        {path / std::string(300, 'x'), "cannot be written: File name too long"},
        {path, "is not the name of a file"},
        {path / "", "is not the name of a file"},
        {"", "is not the name of a file"},
        {"/dev/full", "is not the name of a file"},
        {openFile, "is not the name of a file"},
        {path / "link", "is not the name of a file"},
    };
    for (const auto& [place, message] : cases) {
        const std::string failure = failureOf([&p = place] { const pautil::AtomicFile file(p); });
        EXPECT_NE(failure.find(message), std::string::npos) << failure;
    }
    EXPECT_EQ(entries(), 2);
}

TEST_F(FileTest, ATemporaryFolderRemovesWhatKilledProcessesLeft) {
    const pid_t ended = fork();
    if (ended == 0) {
        _exit(0);
    }
    waitpid(ended, nullptr, 0);
    const std::string number = std::to_string(ended);
    const fs::path leftover = path.parent_path() / ("pautil-test-" + number + "-abcdef");
    const fs::path used = path.parent_path() / ("pautil-test-" + number + "-locked");
    const fs::path ofAnother = path.parent_path() / ("pautil-best-" + number + "-abcdef");
    for (const fs::path& left : {leftover, used, ofAnother}) {
        fs::create_directories(left / "deep");
    }
    const pautil::Descriptor lock(open(used.c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(flock(lock.number(), LOCK_SH), 0);
    fs::path removed;
    {
        const pautil::TemporaryFolder next("pautil-test");
        removed = next.path();
        EXPECT_TRUE(fs::is_directory(removed));
    }
    EXPECT_FALSE(fs::exists(removed) || fs::exists(leftover));
    EXPECT_TRUE(fs::exists(path) && fs::exists(ofAnother) && fs::exists(used));
    fs::remove_all(ofAnother);
    fs::remove_all(used);
}

TEST(FileUri, namesAFileOfThisMachine) {
    const std::pair<std::string, std::string> cases[] = {
        {"file:///tmp/a%20b%25%C3%BC.wav", "/tmp/a b%\xc3\xbc.wav"},
        {"FILE:/tmp/x", "/tmp/x"},
        {"file://localhost/tmp/x", "/tmp/x"},
    };
    for (const auto& [uri, path] : cases) {
        EXPECT_EQ(pautil::pathOfFileUri(uri), fs::path(path)) << uri;
    }
    for (const std::string bad :
         {"", "/tmp/x", "http://host/x", "file:x", "file://host/x", "file:////host/x",
          "file:///a%2", "file:///a%", "file:///a%zz", "file:///a%00b", "file:///a%+1"}) {
        EXPECT_EQ(pautil::pathOfFileUri(bad), std::nullopt) << bad;
    }
}

}  // namespace
