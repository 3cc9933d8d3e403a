#include "simserver/ScheduleStore.h"

#include <csignal>
#include <cstdio>
#include <fstream>
#include <set>
#include <sqlite3.h>
#include <sys/wait.h>

#include "simserver/Refused.h"
#include "simserver/SimServer.h"
#include "tests/simserver/AudioFolder.h"
#include "tests/simserver/SmallStation.h"

namespace {

using namespace simserver;
using namespace std::string_literals;

struct ScheduleStoreTest : testing::Test {
    const AudioFolder folder;
    const std::string file = (folder.path / ScheduleStore::fileName).string();

    /// What a statement of another program says, beside the store.
    std::string query(const char* sql) const {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        std::string text;
        char* fault = nullptr;
        const auto note = [](void* to, int, char** values, char**) {
            *static_cast<std::string*>(to) += values[0];
            return 0;
        };
        if (sqlite3_exec(database, sql, note, &text, &fault) != SQLITE_OK) {
            text = fault;
        }
        sqlite3_free(fault);
        sqlite3_close(database);
        return text;
    }

    /// Why the store cannot be opened, without the name of the file.
    std::string whyNot() const {
        try {
            ScheduleStore store(folder.path);
            return "opened";
        } catch (const std::runtime_error& error) {
            const std::string text = error.what();
            const std::string begin = "cannot keep schedules in \"" + file + "\": ";
            EXPECT_EQ(text.substr(0, begin.size()), begin);
            return text.substr(begin.size());
        }
    }
};

TEST_F(ScheduleStoreTest, KeepsWhatItWasGiven) {
    const std::string hostile = "'); DROP TABLE schedule; --\0\xFF\n\""s;
    {
        ScheduleStore store(folder.path);
        store.put(1, "first");
        store.put(2, hostile);
        store.put(1, "second");
        store.put(3, "");
        store.put(4, "gone");
        store.remove(4);
        store.remove(4);
        EXPECT_EQ(whyNot(), "it is in use by another process");
    }
    EXPECT_EQ(ScheduleStore(folder.path).all(),
              (std::map<int, std::string>{{1, "second"}, {2, hostile}, {3, ""}}));
    EXPECT_TRUE(ScheduleStore({}).all().empty());
}

TEST_F(ScheduleStoreTest, RefusesAFileThatIsNotItsOwnAndLeavesItAsItIs) {
    query("CREATE TABLE fares (price)");
    EXPECT_EQ(whyNot(), "it is of version 0, expected 1");
    EXPECT_EQ(query("PRAGMA journal_mode"), "delete");
    EXPECT_EQ(query("SELECT name FROM sqlite_master"), "fares");
    std::filesystem::remove(file);
    ScheduleStore(folder.path).put(1, "first");
    query("PRAGMA user_version = 2");
    EXPECT_EQ(whyNot(), "it is of version 2, expected 1");
    query("PRAGMA user_version = 1; ALTER TABLE schedule RENAME TO other");
    EXPECT_EQ(whyNot(), "no such table: schedule");
    std::ofstream(file) << "This is a text and no database, though of some length.";
    EXPECT_EQ(whyNot(), "file is not a database");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(whyNot(), "unable to open database file");
}

TEST_F(ScheduleStoreTest, NoticesDamage) {
    {
        ScheduleStore store(folder.path);
        for (int id = 1; id <= 200; ++id) {
            store.put(id, std::string(500, 'x'));
        }
    }
    std::fstream damaged(file, std::ios::in | std::ios::out | std::ios::binary);
    damaged.seekp(3 * 4096);
    damaged << std::string(4096, '\xA5');
    damaged.close();
    EXPECT_EQ(whyNot().substr(0, 14), "it is damaged:");
}

TEST_F(ScheduleStoreTest, RefusesWhatDoesNotFitOnTheDisk) {
    ScheduleStore store(folder.path);
    store.put(1, "first");
    const auto refusal = [&store](const std::string& definition) -> std::string {
        try {
            store.put(1, definition);
            return "done";
        } catch (const Refused& refused) {
            return refused.what();
        }
    };
    const std::string large(1'000'000, 'x');
    const std::string full = withFullDisk(100'000, [&] { return refusal(large); });
    EXPECT_EQ(full.substr(0, 26), "schedules cannot be kept: ");
    EXPECT_EQ(store.all().at(1), "first");
    EXPECT_EQ(refusal(large), "done");
    EXPECT_EQ(store.all().at(1), large);
}

TEST_F(ScheduleStoreTest, HoldsWhatWasToldBeforeAKill) {
    const std::string command =
        "exec \"" PA_SCHEDULE_IMPORT_PROGRAM "\" \"" + folder.path.string() + "\"";
    std::set<int> told;
    for (const std::size_t more : {1U, 20U, 57U}) {
        FILE* const import = popen(command.c_str(), "r");
        ASSERT_NE(import, nullptr);
        int pid = 0;
        ASSERT_EQ(std::fscanf(import, "%d", &pid), 1);
        const std::size_t enough = told.size() + more;
        for (int id = 0; std::fscanf(import, "%d", &id) == 1;) {
            told.insert(id);
            if (told.size() == enough) {
                EXPECT_EQ(kill(pid, SIGKILL), 0);
            }
        }
        const int status = pclose(import);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
        EXPECT_GE(told.size(), enough);
        EXPECT_EQ(query("PRAGMA integrity_check"), "ok");
        ScheduleStore store(folder.path);
        for (const int id : told) {
            EXPECT_EQ(store.all().count(id), 1U) << id;
        }
    }
}

}  // namespace
