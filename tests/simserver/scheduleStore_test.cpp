#include "simserver/schedules/ScheduleStore.h"

#include <sqlite3.h>

#include "simserver/SimServer.h"
#include "simserver/protocol/Refused.h"
#include "tests/simserver/TestFolder.h"
#include "tests/simserver/stations.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace simserver;
using namespace std::string_literals;
namespace fs = std::filesystem;

int syncs = 0;

struct ScheduleStoreTest : testing::Test {
    const TestFolder folder;
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
        const auto why = thrownBy<std::runtime_error>([this] { ScheduleStore{folder.path}; });
        const std::string begin = "cannot keep schedules in \"" + file + "\": ";
        EXPECT_EQ(why.substr(0, begin.size()), begin);
        return why.substr(std::min(begin.size(), why.size()));
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
    fs::remove(file);
    ScheduleStore(folder.path).put(1, "first");
    query("PRAGMA user_version = 2");
    EXPECT_EQ(whyNot(), "it is of version 2, expected 1");
    query("PRAGMA user_version = 1; ALTER TABLE schedule RENAME TO other");
    EXPECT_EQ(whyNot(), "no such table: schedule");
    folder.file(ScheduleStore::fileName, "This is a text and no database, though of some length.");
    EXPECT_EQ(whyNot(), "file is not a database");
    fs::remove(file);
    fs::create_directory(file);
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
    const std::string large(1'000'000, 'x');
    const auto putLarge = [&] { store.put(1, large); };
    const auto full = withFullDisk(100'000, [&] { return thrownBy<Refused>(putLarge); });
    EXPECT_EQ(full.substr(0, 26), "schedules cannot be kept: ");
    EXPECT_EQ(store.all().at(1), "first");
    putLarge();
    EXPECT_EQ(store.all().at(1), large);
}

/// Has a look at the disk whenever a schedule is told of.
struct DiskWatch : palink::ServerEventSink {
    explicit DiskWatch(const fs::path& folder) : state(folder) {}

    void deliver(palink::ServerEvent event) override {
        const auto* const told = std::get_if<palink::Record>(&event);
        if (told == nullptr || told->kind != pa::RecordKind::Schedule) {
            return;
        }
        EXPECT_GT(syncs, 0) << "a power cut would lose it";
        syncs = 0;
        const fs::path copy = state.parent_path() / "copy";
        fs::remove_all(copy);
        fs::copy(state, copy);
        EXPECT_EQ(ScheduleStore(copy).all().count(told->key), 1U) << "a kill would lose it";
        ids.push_back(told->key);
    }

    const fs::path state;
    std::vector<int> ids;
};

TEST_F(ScheduleStoreTest, HasReachedTheDiskWhenItIsToldOf) {
    DiskWatch client(folder.path / "state");
    SimServer server(smallStation(), {1.0, true, {}, client.state});
    server.connectClient(client);
    for (const char* const id : {"0", "0", "2"}) {
        syncs = 0;
        server.handleOperation(
            {-1, pa::operations::putSchedule, 1,
             id +
                 R"~(,"u~\"\"",2026,1,5,6,0,2026,1,5,6,0,127,0,1,"",0,500,"2,ip,\"Yard\",12!1,,")~"s});
    }
    EXPECT_EQ(client.ids, (std::vector<int>{1, 2, 2}));
}

}  // namespace

/// In place of the C library's: counts what is made sure to be on the disk.
extern "C" int fdatasync(int file) {
    ++syncs;
    return fsync(file);
}
