// SPDX-License-Identifier: Apache-2.0
#include "console/shell/HistoryFile.h"

#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include "tests/console/consoleRun.h"
#include "tests/support/TestFolder.h"

namespace {

namespace fs = std::filesystem;
using console::HistoryFile;
using Lines = std::vector<std::string>;

TEST(HistoryFile, keepsTheNewestLinesForTheUserOnly) {
    const TestFolder folder;
    const fs::path path = folder.path() / "new/folder/history";
    std::ostringstream reported;
    console::Output diagnostics(reported);
    HistoryFile history(path, diagnostics);
    EXPECT_EQ(history.load(), Lines());
    for (const char* const line :
         {"first", "", "two\nlines", "\x1b[2J", "\xE9", "caf\xC3\xA9 'x"}) {
        history.add(line);
    }
    fs::permissions(path, fs::perms(0644));
    HistoryFile(path, diagnostics).add("of another shell");
    EXPECT_EQ(history.load(), (Lines{"first", "caf\xC3\xA9 'x", "of another shell"}));
    const auto modeOf = [](const fs::path& of) {
        struct stat status = {};
        stat(of.c_str(), &status);
        return status.st_mode & 0777U;
    };
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(modeOf(path.parent_path()), 0700U);
    EXPECT_EQ(modeOf(path.parent_path().parent_path()), 0700U);

    std::ofstream(path, std::ios::app) << "\x1b[31mred\n";
    for (std::size_t i = 0; i < 2 * HistoryFile::mostLines; ++i) {
        history.add(std::to_string(i));
    }
    for (int time = 0; time < 2; ++time) {  // before and after the file is cut
        const Lines newest = history.load();
        ASSERT_EQ(newest.size(), HistoryFile::mostLines);
        EXPECT_EQ(newest.front(), "1000");
        EXPECT_EQ(newest.back(), "1999");
    }
    EXPECT_EQ(fs::file_size(path), 5 * HistoryFile::mostLines);

    // Of a huge file the end is read, and it is cut.
    fs::resize_file(path, 200U << 20U);
    std::ofstream(path, std::ios::app) << "\nnewest\n";
    EXPECT_EQ(history.load(), Lines{"newest"});
    EXPECT_EQ(fs::file_size(path), 7U);
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(reported.str(), "");
}

TEST(HistoryFile, reportsOnceThatItCannotBeKept) {
    const TestFolder folder;
    const fs::path fifo = folder.path() / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const fs::path& path :
         {fs::path(folder.write("file", "")) / "history", folder.path(), fifo}) {
        SCOPED_TRACE(path);
        std::ostringstream reported;
        console::Output diagnostics(reported);
        HistoryFile history(path, diagnostics);
        EXPECT_EQ(history.load(), Lines());
        history.add("one");
        history.add("two");
        EXPECT_EQ(linesOf(reported.str()).size(), 1U) << reported.str();
        EXPECT_TRUE(contains(reported.str(), path.string())) << reported.str();
    }
}

}  // namespace
