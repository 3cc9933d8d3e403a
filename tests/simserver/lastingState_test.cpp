#include "simserver/state/StateStore.h"
#include "tests/simserver/Replay.h"
#include "tests/simserver/environment.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace simserver;
namespace fs = std::filesystem;

constexpr std::time_t mondayMorning = 1767592770;  // 2026-01-05 05:59:30 UTC
constexpr const char* upload = "/home/quillon/tmp/a.wav";

int syncs = 0;

/// Has a state folder, as a process leaves it that is killed when the last record arrives.
struct DiskWatch : TestClient {
    explicit DiskWatch(const fs::path& folder) : state(folder) {}

    void deliver(palink::ServerEvent event) override {
        if (const auto* const record = std::get_if<palink::Record>(&event)) {
            if (record->kind == RecordKind::Schedule) {
                EXPECT_GT(syncs, 0) << "a power failure would lose it";
            }
            fs::remove_all(atKill);
            fs::copy(state, atKill, fs::copy_options::recursive);
        }
        TestClient::deliver(std::move(event));
    }

    const fs::path state;
    const fs::path atKill = state.parent_path() / "at kill";
};

struct LastingState : testing::Test {
    LastingState() { station.triggers.clear(); }

    /// What a server with this state reports when a client connects.
    auto recordsOf(const fs::path& kept, const Station& another) const {
        TestClient client;
        SimServer server(another, {1.0, true, {}, kept, mondayMorning});
        server.connectClient(client);
        return client.last;
    }

    const TestFolder folder;
    const fs::path state = folder.path() / "state";
    Station station = operatedStation();
};

TEST_F(LastingState, IsThereAfterAKillOnceItIsReported) {
    DiskWatch client(state);
    fs::path killed;
    {
        SimServer server(station, {1.0, true, {}, state, mondayMorning});
        server.connectClient(client);
        std::size_t kept = 0;
        for (
            const char* const step :
            {R"(92/9 9,-6.25,1,1)", R"(92/3 9,"Yard"^"Hall/East")", "92/4 120", "92/8 5,-12,1,1",
             "92/10 1,6",
             R"~(92/19 0,"u~\"\"",2026,1,5,6,0,2026,1,5,6,0,127,0,1,"",0,500,"2,ip,\"Yard\",12!1,,")~"}) {
            syncs = 0;
            server.handleOperation(ServerTest::operationIn(step));
            ++kept;
            StateStore store(client.atKill);
            std::size_t found = 0;
            for (const Kept kind : {Kept::Schedule, Kept::SourceGain, Kept::AttachedZones,
                                    Kept::SinkGain, Kept::Monitoring}) {
                found += store.all(kind).size();
            }
            EXPECT_EQ(found, kept) << step;
        }
        EXPECT_TRUE(server.storeFile(folder.write("local", "sound"), upload).stored);
    }
    const auto wanted = client.last;
    EXPECT_EQ(recordsOf(client.atKill, station), wanted);
    std::ofstream(state / "uploads/pa-previews/.upload-123456") << "half an upl";
    EXPECT_EQ(recordsOf(state, station), wanted);
    EXPECT_EQ(fs::exists(state / "uploads/pa-previews"), false);
    EXPECT_EQ(fs::file_size(state / "uploads/a.wav"), 5U);

    // Another scenario leaves out what it does not have, and loses nothing of it.
    Station other = station;
    other.zones.pop_back();  // the yard
    other.sources[0].type = 3;
    other.sinks[0].type = 9;
    auto records = recordsOf(state, other);
    EXPECT_EQ(records[std::pair(RecordKind::AttachedZones, 9)].at(0), R"("\"Hall/East\"")");
    EXPECT_EQ(records[std::pair(RecordKind::Source, 9)].at(11), "-10");
    const std::pair sink(RecordKind::Sink, 5);
    EXPECT_EQ(records[sink], recordsOf("", other)[sink]);
    EXPECT_EQ(recordsOf(state, station), wanted);
}

TEST_F(LastingState, IsReadFromAFolderThatCannotBeWrittenTo) {
    {
        SimServer server(station, {1.0, true, {}, state, mondayMorning});
        EXPECT_TRUE(server.storeFile(folder.write("local", "sound"), upload).stored);
        server.handleOperation(ServerTest::operationIn(R"(92/3 9,"Yard")"));
    }
    const std::string other = folder.write("other", "another sound");
    fs::permissions(state, fs::perms(0555));
    const auto remove = [&] {
        SimServer server(station, {1.0, true, {}, state, mondayMorning});
        for (const char* const step : {R"(92/4 9,"Yard")", R"(78/9 "/home/quillon/tmp/a.wav")"}) {
            EXPECT_EQ(server.operateAsOther(ServerTest::operationIn(step)), std::nullopt);
        }
        EXPECT_TRUE(server.storeFile(other, upload).stored);
        return true;
    };
    EXPECT_NE(logOf([&] { asAnotherUser(remove); }).find("nothing is kept"), std::string::npos);
    fs::permissions(state, fs::perms::owner_all);
    EXPECT_EQ(fs::file_size(state / "uploads/a.wav"), 5U) << "a temporary file replaced it";
    remove();  // everything is still there
    EXPECT_EQ(fs::file_size(state / "uploads/a.wav"), 13U);
}

TEST_F(LastingState, IsKeptWhenItCannotBeRead) {
    const auto schedule = [](const std::string& id, const char* zone) {
        return id + R"~(,"u~\"\"",2026,1,5,6,0,2026,1,5,6,0,127,0,1,"",0,500,"2,ip,\")~" + zone +
               R"~(\",12!1,,")~";
    };
    {
        StateStore store(state);
        store.put(Kept::Schedule, 3, schedule("3", "Yard"));
        store.put(Kept::Schedule, 7, "7,torn");
        store.put(Kept::SourceGain, 9, "9,1000,1,1");
    }
    TestClient client;
    std::string lines;
    {
        std::optional<SimServer> server;
        lines = logOf([&] {
            server.emplace(station, Options{1.0, true, {}, state, mondayMorning});
        });
        server->connectClient(client);
        EXPECT_EQ(
            server->operateAsOther({-1, pa::operations::putSchedule, 1, schedule("0", "Hall")}),
            std::nullopt);
        EXPECT_NE(client.events().find("schedule: 3 / complete: . / schedule: 8"),
                  std::string::npos);
        EXPECT_EQ(server->operateAsOther({-1, pa::operations::deleteSchedule, 1, "3"}),
                  std::nullopt);
    }
    EXPECT_NE(lines.find("schedule 7 of \"" + (state / "schedules.db").string() +
                         "\" cannot be read and is left out: "),
              std::string::npos)
        << lines;
    EXPECT_NE(lines.find("gain of source 9 of "), std::string::npos);
    EXPECT_EQ(StateStore(state).all(Kept::Schedule),
              (std::map<int, std::string>{{7, "7,torn"}, {8, schedule("0", "Hall")}}));
}

}  // namespace

/// In place of the C library's: counts what has reached the disk.
extern "C" int fdatasync(int file) {
    ++syncs;
    return fsync(file);
}
