// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/syscall.h>

#include "simserver/state/StateStore.h"
#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace simserver;
using pautil::Database;
using namespace std::string_literals;
namespace fs = std::filesystem;
using Values = std::map<int, std::string>;

constexpr const char* upload = "/home/quillon/tmp/a.wav";

std::atomic<int> syncs{0};

/// A schedule of each hour of that day.
std::string schedule(const std::string& id, const std::string& zone) {
    return id + R"~(,"u~\"\"",2026,1,5,5,0,2026,1,5,23,59,127,60,1,"",0,500,"2,ip,\")~" + zone +
           R"~(\",12!1,,")~";
}

/// Copies a state folder when a record arrives, as a process leaves it that is killed then.
struct DiskWatch : TestClient {
    explicit DiskWatch(const fs::path& folder) : state(folder) {}

    void deliver(palink::ServerEvent event) override {
        if (const auto* const record = std::get_if<palink::Record>(&event)) {
            EXPECT_TRUE(record->kind != RecordKind::Schedule || syncs > 0) << "not on the disk";
            fs::remove_all(atKill);
            fs::copy(state, atKill, fs::copy_options::recursive);
        }
        TestClient::deliver(std::move(event));
    }

    const fs::path state;
    const fs::path atKill = state.parent_path() / "at kill";
};

struct LastingState : testing::Test {
    LastingState() {
        fs::create_directory(state);
        station.triggers.clear();
    }

    /// Why a store cannot be opened, without the names of folder and file.
    std::string whyNot() const {
        const auto why = thrownBy<std::runtime_error>([this] { StateStore{state}; });
        EXPECT_EQ(why.find("cannot keep state in \"" + state.string()), 0U) << why;
        return why.substr(why.find("\": ") + 3);
    }

    SimServer serverOf(const fs::path& kept, std::time_t clock = mondayMorning) const {
        return SimServer(station, {1.0, true, {}, kept, clock});
    }

    /// What a server with this state reports when a client connects.
    auto recordsOf(const fs::path& kept) const {
        TestClient client;
        SimServer server = serverOf(kept);
        server.connectClient(client);
        return client.last;
    }

    /// Has a server with this state perform operations.
    void perform(const fs::path& kept, const std::vector<std::string>& operations) const {
        SimServer server = serverOf(kept);
        for (const std::string& operation : operations) {
            EXPECT_FALSE(server.operate(ServerTest::operationIn(operation))) << operation;
        }
    }

    /// Has a server keep something of every kind.
    void fill() {
        SimServer server = serverOf(state);
        server.connectClient(watch);
        syncs = 0;
        EXPECT_TRUE(server.storeFile(folder.write("local", "sound"), upload).stored);
        EXPECT_EQ(syncs, 2) << "the file and its folder";
        for (const std::string& step :
             {"92/9 9,-6.25,1,1"s, R"(92/3 9,"Yard"^"Hall/East")"s, "92/4 120"s, "92/8 5,-12,1,1"s,
              "92/10 1,6"s, "92/19 " + schedule("0", "Yard")}) {
            syncs = 0;
            server.handleOperation(ServerTest::operationIn(step));
            EXPECT_EQ(recordsOf(watch.atKill), watch.last) << step;
        }
    }

    const TestFolder folder;
    const fs::path state = folder.path() / "state";
    const fs::path file = state / StateStore::fileName;
    Station station = operatedStation();
    DiskWatch watch{state};
};

TEST_F(LastingState, KeepsWhatItWasGiven) {
    const std::string hostile = "'); DROP TABLE kept; --\0\xFF\n\""s;
    {
        StateStore store(state);
        store.put(Kept::Schedule, 1, "first");
        store.put(Kept::Schedule, 2, hostile);
        store.put(Kept::Schedule, 1, "second");
        store.put(Kept::SourceGain, 1, {});
        store.put(Kept::SourceGain, 2, "removed");
        store.remove(Kept::SourceGain, 2);
        EXPECT_EQ(whyNot(),
                  "it is in use by process " + std::to_string(getpid()) + " (simserver_tests)");
    }
    StateStore store(state);
    EXPECT_EQ(store.all(Kept::Schedule), (Values{{1, "second"}, {2, hostile}}));
    EXPECT_EQ(store.all(Kept::SourceGain), (Values{{1, ""}}));
}

TEST_F(LastingState, MigratesTheFirstVersion) {
    Database(file).run(
        "CREATE TABLE schedule (id INTEGER PRIMARY KEY, definition BLOB NOT NULL);"
        "PRAGMA user_version = 1; PRAGMA journal_mode = WAL;"
        "INSERT INTO schedule VALUES (1, CAST('first' AS BLOB)), (12, x'00FF')");
    for (int opening = 0; opening < 2; ++opening) {
        EXPECT_EQ(StateStore(state).all(Kept::Schedule), (Values{{1, "first"}, {12, "\0\xFF"s}}));
        EXPECT_EQ(Database(file).textOf("PRAGMA user_version"), "2");
    }
}

TEST_F(LastingState, RefusesWhatItCannotReadAndLeavesItAsItIs) {
    const auto sql = [this](const char* statements) {
        return [this, statements] { Database(file).run(statements); };
    };
    const std::string other = folder.write("other", "precious");
    // What is in the folder, and how the reason begins.
    const std::pair<std::function<void()>, std::string> cases[] = {
        {sql("CREATE TABLE fares (price)"), "it is the database of another program"},
        {sql("PRAGMA user_version = 3"), "it is of version 3, this program knows versions up to 2"},
        {sql("PRAGMA user_version = 2; CREATE TABLE x (y)"), "no such table: kept"},
        {[this] { std::ofstream(file) << std::string(100, 'x'); }, "file is not a database"},
        {[this] {
             StateStore(state).put(Kept::SinkGain, 1, std::string(20'000, 'x'));
             std::fstream(file).seekp(3 * 4096) << std::string(4096, '\xA5');
         },
         "it is damaged: "},
        {[&] { fs::create_symlink(other, file); }, "schedules.db is not a regular file"},
    };
    for (const auto& [prepare, reason] : cases) {
        prepare();
        const std::string before = contentOf(file);
        EXPECT_EQ(whyNot().substr(0, reason.size()), reason);
        EXPECT_EQ(contentOf(file), before) << reason;
        fs::remove_all(state);
        fs::create_directory(state);
    }
}

/// No file can grow beyond a size, as if the disk were full.
TEST_F(LastingState, RefusesWhatDoesNotFitOnTheDisk) {
    StateStore store(state);
    store.put(Kept::SinkGain, 1, "first");
    const std::string large(1'000'000, 'x');
    const auto putLarge = [&] { store.put(Kept::SinkGain, 1, large); };
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited{100'000, before.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    const std::string why = thrownBy<Refused>(putLarge);
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(why, "it cannot be kept: disk I/O error");
    EXPECT_EQ(store.all(Kept::SinkGain).at(1), "first");
    putLarge();
    EXPECT_EQ(store.all(Kept::SinkGain).at(1), large);
}

TEST_F(LastingState, IsThereAfterAKillOnceItIsReported) {
    fill();
    std::ofstream(state / "uploads/pa-previews/.upload-123456") << "half an upl";

    // Another scenario leaves out what it does not have, and loses nothing of it.
    const Station before = std::exchange(station, smallStation());
    station.zones.pop_back();  // the yard
    station.sources[0].type = 3;
    auto records = recordsOf(state);
    EXPECT_EQ(records[std::pair(RecordKind::AttachedZones, 9)].at(0), R"("\"Hall/East\"")");
    EXPECT_EQ(records[std::pair(RecordKind::Source, 9)].at(11), "0");
    station = before;
    EXPECT_EQ(recordsOf(state), watch.last);
    EXPECT_EQ(fs::exists(state / "uploads/pa-previews"), false);
    EXPECT_EQ(contentOf(state / "uploads/a.wav"), "sound");
}

TEST_F(LastingState, IsReadFromAFolderThatCannotBeWrittenTo) {
    fill();
    {
        SimServer server = serverOf(state);
        server.connectClient(watch);
        server.handleOperation(ServerTest::operationIn("92/10 0,6"));
    }
    const fs::path& kept = watch.atKill;  // the last change is in the database's log only
    folder.write("other", "another sound");
    const auto change = [&] {
        const SimServer beside = serverOf(kept);  // several may read it
        EXPECT_EQ(recordsOf(kept), watch.last);
        perform(kept, {"92/20 1", R"(78/9 "/home/quillon/tmp/a.wav")"});
        return serverOf(kept).storeFile(folder.path() / "other", upload).stored;
    };
    fs::permissions(kept, fs::perms(0555));
    const std::string log = logOf([&] { EXPECT_TRUE(asAnotherUser(change)); });
    EXPECT_EQ(log.find("the state folder cannot be written to, nothing is kept: \"" +
                       kept.string() + "\": Permission denied\n"),
              0U);
    fs::permissions(kept, fs::perms::owner_all);
    EXPECT_EQ(recordsOf(kept), watch.last);
    EXPECT_EQ(contentOf(kept / "uploads/a.wav"), "sound");
}

TEST_F(LastingState, HasSchedulesThatRunOrFailVisibly) {
    perform(state, {"92/19 " + schedule("2147483647", "Yard"), "92/19 " + schedule("0", "Hallway"),
                    "92/19 " + schedule("2", "Hallway"), "92/20 2"});
    station.zones.pop_back();                                // the yard
    SimServer server = serverOf(state, mondayMorning + 30);  // 06:00, when they run
    TestClient client;
    server.connectClient(client);
    EXPECT_NE(client.events().find("schedule: 1, 2147483647 / part: 1 Playing / complete"),
              std::string::npos);
    server.advance(std::chrono::hours(1));
    EXPECT_EQ(client.events(),
              R"(part: 1 Finished 0 "played to its end" deleted / zone: 4 None / )"
              R"(part: 3 schedule-1-3 Queued Playing, 4 schedule-2147483647-4 Queued )"
              R"(Failed 3 "unknown zone \"Yard\"" deleted / zone: 4 Dictionary)");
}

TEST_F(LastingState, IsKeptWhenItCannotBeRead) {
    {
        StateStore store(state);
        store.put(Kept::Schedule, 7, "7,torn");
        store.put(Kept::SourceGain, 9, "9,1000,1,1");
    }
    const std::string lines = logOf([&] { perform(state, {"92/19 " + schedule("0", "Hall")}); });
    const std::string place = " of \"" + file.string() + "\" cannot be read";
    EXPECT_EQ(lines.find("gain of source 9" + place + " and is left out: gain out of range"), 0U)
        << lines;
    EXPECT_NE(lines.find("\nschedule 7" + place), std::string::npos) << lines;
    EXPECT_EQ(StateStore(state).all(Kept::Schedule),
              (std::map<int, std::string>{{7, "7,torn"}, {8, schedule("0", "Hall")}}));
}

}  // namespace

/// In place of the C library's: counts what has reached the disk.
extern "C" int fsync(int file) {
    ++syncs;
    return static_cast<int>(syscall(SYS_fsync, file));
}
extern "C" int fdatasync(int file) {
    return fsync(file);
}
