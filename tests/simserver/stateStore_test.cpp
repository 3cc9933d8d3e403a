#include "simserver/state/StateStore.h"

#include <functional>
#include <sqlite3.h>
#include <sys/stat.h>

#include "simserver/protocol/Refused.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace simserver;
using namespace std::string_literals;
namespace fs = std::filesystem;
using Values = std::map<int, std::string>;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct StateStoreTest : testing::Test {
    const TestFolder parent{TestFolder::unusual};
    const fs::path folder = parent.path() / "state";
    const fs::path file = folder / StateStore::fileName;

    StateStoreTest() { fs::create_directory(folder); }

    /// The result of a statement of another program, in the folder or a copy of it.
    std::string query(const std::string& sql) const {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        std::string text;
        char* fault = nullptr;
        const auto note = [](void* to, int, char** values, char**) {
            *static_cast<std::string*>(to) += values[0];
            return 0;
        };
        if (sqlite3_exec(database, sql.c_str(), note, &text, &fault) != SQLITE_OK) {
            text = fault;
        }
        sqlite3_free(fault);
        sqlite3_close(database);
        return text;
    }

    /// Why the store cannot be opened, without the names of folder and file.
    std::string whyNot() const {
        const auto why = thrownBy<std::runtime_error>([this] { StateStore{folder}; });
        EXPECT_EQ(why.find("cannot keep state in \"" + folder.string()), 0U) << why;
        return why.substr(why.find("\": ") + 3);
    }

    /// Leaves the folder as a process that is killed with `store` open.
    void kill(std::optional<StateStore>& store) const {
        fs::copy(folder, parent.path() / "copy");
        store.reset();
        fs::remove_all(folder);
        fs::rename(parent.path() / "copy", folder);
    }
};

TEST_F(StateStoreTest, KeepsWhatItWasGiven) {
    const std::string hostile = "'); DROP TABLE kept; --\0\xFF\n\""s;
    const std::string self = "process " + std::to_string(getpid()) + " (simserver_tests)";
    std::optional<StateStore> store(folder);
    store->put(Kept::Schedule, 1, "first");
    store->put(Kept::Schedule, 2, hostile);
    store->put(Kept::Schedule, 1, "second");
    store->put(Kept::SourceGain, 1, {});
    store->put(Kept::SinkGain, 1, "removed");
    store->remove(Kept::SinkGain, 1);
    store->remove(Kept::SinkGain, 1);
    EXPECT_EQ(whyNot(), "it is in use by " + self);
    kill(store);
    for (int opening = 0; opening < 2; ++opening) {
        store.emplace(folder);
        EXPECT_TRUE(store->isLasting());
        EXPECT_EQ(store->all(Kept::Schedule), (Values{{1, "second"}, {2, hostile}}));
        EXPECT_EQ(store->all(Kept::SourceGain), (Values{{1, ""}}));
        EXPECT_EQ(store->all(Kept::SinkGain), Values());
        store.reset();
    }
    StateStore inMemory("");
    EXPECT_FALSE(inMemory.isLasting());
    EXPECT_EQ(inMemory.all(Kept::Schedule), Values());
}

TEST_F(StateStoreTest, MigratesTheFirstVersion) {
    query(
        "CREATE TABLE schedule (id INTEGER PRIMARY KEY, definition BLOB NOT NULL);"
        "PRAGMA user_version = 1; PRAGMA journal_mode = WAL;"
        "INSERT INTO schedule VALUES (1, CAST('first' AS BLOB)), (12, x'00FF')");
    std::optional<StateStore> store(folder);
    const Values schedules{{1, "first"}, {12, "\0\xFF"s}};
    EXPECT_EQ(store->all(Kept::Schedule), schedules);
    store->put(Kept::Schedule, 12, "changed");
    store.reset();
    EXPECT_EQ(query("PRAGMA user_version"), "2");
    EXPECT_EQ(StateStore(folder).all(Kept::Schedule), (Values{{1, "first"}, {12, "changed"}}));
}

TEST_F(StateStoreTest, RefusesWhatItCannotReadAndLeavesItAsItIs) {
    const auto sql = [this](const char* statements) {
        return [this, statements] { query(statements); };
    };
    const auto other = [this] { return parent.write("other", "precious"); };
    const auto filled = [this] {
        StateStore store(folder);
        for (int id = 1; id <= 200; ++id) {
            store.put(Kept::SinkGain, id, std::string(500, 'x'));
        }
    };
    const struct {
        std::function<void()> prepare;
        std::string reason;  // its beginning
    } cases[] = {
        {sql("CREATE TABLE fares (price)"), "it is the database of another program"},
        {sql("PRAGMA user_version = 3"), "it is of version 3, this program knows versions up to 2"},
        {sql("PRAGMA user_version = -1"), "it is of version -1, "},
        {sql("PRAGMA user_version = 1; CREATE TABLE x (y)"), "no such table: schedule"},
        {sql("PRAGMA user_version = 2; CREATE TABLE x (y)"), "no such table: kept"},
        {[this] { std::ofstream(file) << "This is a text and no database, of some length."; },
         "file is not a database"},
        {[&] {
             filled();
             fs::resize_file(file, fs::file_size(file) / 2);
         },
         "database disk image is malformed"},
        {[&] {
             filled();
             std::fstream damaged(file, std::ios::in | std::ios::out | std::ios::binary);
             damaged.seekp(3 * 4096);
             damaged << std::string(4096, '\xA5');
         },
         "it is damaged: "},
        {[this] { fs::create_directory(file); }, "schedules.db is not a regular file"},
        {[this] { mkfifo(file.c_str(), 0600); }, "schedules.db is not a regular file"},
        {[&] { fs::create_symlink(other(), file); }, "schedules.db is not a regular file"},
        {[&] { fs::create_symlink(other(), folder / "server.lock"); },
         "server.lock is not a regular file"},
        {[&] {
             fs::remove(folder);
             fs::create_symlink(other(), folder);
         },
         "Not a directory"},
    };
    for (const auto& each : cases) {
        each.prepare();
        const std::string before = fs::is_regular_file(file) ? contentOf(file) : "";
        EXPECT_EQ(whyNot().substr(0, each.reason.size()), each.reason);
        EXPECT_EQ(fs::is_regular_file(file) ? contentOf(file) : "", before) << each.reason;
        EXPECT_EQ(contentOf(other()), "precious");
        fs::remove_all(folder);
        fs::create_directory(folder);
    }
}

TEST_F(StateStoreTest, ReadsAFolderThatItCannotWriteTo) {
    std::optional<StateStore> store(folder);
    store->put(Kept::Schedule, 1, "in the log of changes");
    kill(store);
    const auto opened = [this] {
        StateStore reader(folder);
        EXPECT_FALSE(reader.isLasting());
        reader.put(Kept::Schedule, 2, "for as long as the server runs");
        const StateStore other(folder);  // may read it meanwhile
        return reader.all(Kept::Schedule);
    };
    for (const fs::path& own :
         {folder, file, folder / "schedules.db-wal", folder / "server.lock"}) {
        fs::permissions(own, fs::perms::all);
    }
    for (const fs::path& closed : {folder, file}) {
        const auto before = fs::status(closed).permissions();
        fs::permissions(closed, fs::perms(0555));
        Values values;
        const std::string log = logOf([&] { values = asAnotherUser(opened); });
        EXPECT_EQ(values.size(), 2U);
        EXPECT_EQ(values[1], "in the log of changes");
        const std::string line = "the state folder cannot be written to, nothing is kept: \"";
        EXPECT_EQ(log.substr(0, log.find('\n')), line + closed.string() + "\": Permission denied");
        fs::permissions(closed, before);
    }
    fs::permissions(folder, fs::perms::none);
    EXPECT_EQ(asAnotherUser([this] { return whyNot(); }), "Permission denied");
    fs::permissions(folder, fs::perms::owner_all);
    store.emplace(folder);
    EXPECT_EQ(store->all(Kept::Schedule).size(), 1U);
}

TEST_F(StateStoreTest, RefusesWhatDoesNotFitOnTheDisk) {
    StateStore store(folder);
    store.put(Kept::SinkGain, 1, "first");
    const std::string large(1'000'000, 'x');
    const auto putLarge = [&] { store.put(Kept::SinkGain, 1, large); };
    EXPECT_EQ(withFullDisk(100'000, [&] { return thrownBy<Refused>(putLarge); }),
              "it cannot be kept: disk I/O error");
    EXPECT_EQ(store.all(Kept::SinkGain).at(1), "first");
    putLarge();
    EXPECT_EQ(store.all(Kept::SinkGain).at(1), large);
}

TEST_F(StateStoreTest, LeavesOutWhatIsRefusedAndKeepsIt) {
    struct Thing {
        int id;
        std::string taken;
    };
    std::vector<Thing> things{{1, ""}, {2, ""}, {3, ""}};
    StateStore store(folder);
    for (const int id : {1, 2, 77}) {
        store.put(Kept::Monitoring, id, "value " + std::to_string(id));
    }
    EXPECT_EQ(logOf([&] {
                  store.restoreAll(Kept::Monitoring, things,
                                   [](Thing& thing, const std::string& value) {
                                       if (thing.id == 1) {
                                           throw Refused("no flag");
                                       }
                                       thing.taken = value;
                                   });
              }),
              "monitoring of sink 1 of \"" + file.string() +
                  "\" cannot be read and is left out: no flag\n");
    EXPECT_EQ(things[1].taken, "value 2");
    EXPECT_EQ(store.all(Kept::Monitoring).size(), 3U);
}

}  // namespace
