#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "util/AtomicFile.h"
#include "util/FileError.h"
#include "util/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::ptrdiff_t entriesIn(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

/// While it lives no file grows beyond a few bytes.
class FullDisk {
public:
    FullDisk() {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit few = {10, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &few);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before_); }

private:
    rlimit before_ = {};
};

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

TEST(AtomicFile, replacesTheFileOnlyWhenItIsComplete) {
    const pautil::TemporaryFolder folder("pautil-test");
    const fs::path original = folder.path() / "original";
    const fs::path place = folder.path() / "place";
    const fs::path link = folder.path() / "link";
    std::ofstream(original) << "the new content";
    fs::permissions(original, fs::perms::owner_read);
    std::ofstream(place) << "the old";
    fs::permissions(place, fs::perms(0640));
    {
        pautil::AtomicFile abandoned(place);
        abandoned.fillFrom(original);
    }
    EXPECT_EQ(failureOf([&] {
                  const FullDisk full;
                  pautil::AtomicFile(place).fillFrom(original);
              }),
              place.string() + " cannot be written: File too large");
    EXPECT_EQ(failureOf([&] { pautil::AtomicFile(place).fillFrom("/nonexistent"); }),
              "/nonexistent cannot be read: No such file or directory");
    EXPECT_EQ(contentOf(place), "the old");
    EXPECT_EQ(entriesIn(folder.path()), 2) << "no draft is left";

    fs::create_symlink(place, link);
    pautil::AtomicFile file(link);
    file.fillFrom(original);
    file.fillWith("new");
    file.complete();
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(contentOf(place), "new");
    EXPECT_EQ(fs::status(place).permissions(), fs::perms(0640));
    EXPECT_EQ(entriesIn(folder.path()), 3);
}

TEST(AtomicFile, isBegunWhereItCanBeCompleted) {
    const pautil::TemporaryFolder folder("pautil-test");
    const std::pair<fs::path, std::string> cases[] = {
        {folder.path() / "missing/file", "cannot be written: No such file or directory"},
        {folder.path() / std::string(300, 'x'), "cannot be written: File name too long"},
        {folder.path(), "is not the name of a file"},
        {folder.path() / "", "is not the name of a file"},
        {"", "is not the name of a file"},
        {"/dev/full", "is not the name of a file"},
    };
    for (const auto& [path, message] : cases) {
        const std::string failure = failureOf([&p = path] { const pautil::AtomicFile file(p); });
        EXPECT_NE(failure.find(message), std::string::npos) << failure;
    }
    EXPECT_EQ(entriesIn(folder.path()), 0);
}

TEST(TemporaryFolder, removesWhatKilledProcessesLeft) {
    const pautil::TemporaryFolder own("pautil-test");
    const fs::path temporary = own.path().parent_path();
    const pid_t ended = fork();
    if (ended == 0) {
        _exit(0);
    }
    waitpid(ended, nullptr, 0);
    const auto name = [&](const std::string& prefix, pid_t process) {
        return temporary / (prefix + '-' + std::to_string(process) + "-abcdef");
    };
    const fs::path leftover = name("pautil-test", ended);
    const fs::path ofAnother = name("pautil-other", ended);
    const fs::path used = temporary / ("pautil-test-" + std::to_string(ended) + "-locked");
    for (const fs::path& path : {leftover, ofAnother, used}) {
        fs::create_directories(path / "deep");
    }
    const pautil::Descriptor lock(open(used.c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(flock(lock.number(), LOCK_SH), 0);

    fs::path removed;
    {
        const pautil::TemporaryFolder next("pautil-test");
        removed = next.path();
        EXPECT_TRUE(fs::is_directory(removed));
        EXPECT_TRUE(fs::is_directory(own.path()));
        EXPECT_FALSE(fs::exists(leftover));
        EXPECT_TRUE(fs::exists(ofAnother));
        EXPECT_TRUE(fs::exists(used));
    }
    EXPECT_FALSE(fs::exists(removed));
    fs::remove_all(ofAnother);
    fs::remove_all(used);
}

}  // namespace
