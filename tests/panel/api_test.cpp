// SPDX-License-Identifier: Apache-2.0
#include <future>
#include <sstream>

#include "client/StationClock.h"
#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "client/scheduleJson.h"
#include "panel/api/announcementEnds.h"
#include "panel/api/contentText.h"
#include "panel/api/records.h"
#include "panel/api/zoneRecords.h"
#include "tests/panel/apiFixture.h"
#include "tests/panel/hostTime.h"
#include "tests/support/schedules.h"
#include "tests/support/tables.h"

namespace {

using namespace papanel;
using namespace std::chrono_literals;
using paclient::AnyTrigger;

using OperationsTest = ApiTest;

/// The answer to "METHOD TARGET BODY".
TEST_F(OperationsTest, AreAnsweredByWhatTheServerConfirms) {
    expectTable([&](const std::string& given) {
        std::istringstream words(given);
        std::string method;
        std::string target;
        std::string body;
        words >> method >> target;
        std::getline(words, body);
        return answer(method, target, body.empty() ? Json() : Json::parse(body));
    });
}

TEST_F(OperationsTest, EndWithTheGatewayAndNeedAConnection) {
    call("POST", "/simulation/requests", {{"received", false}});
    auto unanswered = std::async(std::launch::async, [&] {
        return answer("PUT", "/sinks/1/gain", {{"level", -3}});
    });
    while (unanswered.wait_for(1ms) == std::future_status::timeout) {
        pass(1s);
    }
    EXPECT_EQ(unanswered.get(),
              "504 timed-out the server has not confirmed it in time; whether sink 1 has the gain "
              "-3 dB is unknown");
    auto waiting = std::async(std::launch::async, [&] {
        return answer("PUT", "/sinks/1/monitoring", {{"enabled", true}});
    });
    stop.request();
    EXPECT_EQ(waiting.get().substr(0, 19), "504 connection-lost");

    connection.link().stop();
    for (const char* const source : {"1", "3"}) {
        EXPECT_EQ(answer("PUT", std::string("/sources/") + source + "/lock").substr(0, 17),
                  "503 not-connected");
    }
    EXPECT_EQ(call("GET", "/status").body["synced"], false);
}

TEST_F(OperationsTest, MakeSchedulesWithDifferentNumbersAtTheSameTime) {
    const Json schedule = {
        {"startYear", 2030},      {"startMonth", 1},     {"startDay", 1},
        {"endYear", 2030},        {"endMonth", 1},       {"endDay", 9},
        {"dayMask", 1},           {"paZones", {"Hall"}}, {"announcementType", AT_TEV},
        {"dictionaryItems", {12}}};
    call("POST", "/simulation/requests", {{"received", false}});
    paclient::Subscription sent(paclient::kinds<paclient::SentOperation>());
    const auto add = [&] { return answer("POST", "/schedules", schedule); };
    auto first = std::async(std::launch::async, add);
    auto second = std::async(std::launch::async, add);
    sent.next(10s);
    EXPECT_NE(sent.next(10s), nullptr) << "one waits for the other";
    Json wanted = schedule;
    wanted["Id"] = 2;
    EXPECT_EQ(answer("POST", "/schedules", wanted),
              "409 refused a schedule 2 is being made already");
    EXPECT_EQ(answer("POST", "/schedules/import", Json::array({wanted})),
              "200 refused 0 of 1 schedules are in; entry 1: a schedule 2 is being made already");
    while (first.wait_for(1ms) == std::future_status::timeout ||
           second.wait_for(1ms) == std::future_status::timeout) {
        pass(1s);
    }
    EXPECT_EQ(first.get().substr(0, 13), "504 timed-out");
    call("POST", "/simulation/requests", {{"received", true}});
    EXPECT_EQ(add(), "201 done schedule 3 is kept as asked") << "1 and 2 may be kept later";
    EXPECT_EQ(answer("POST", "/schedules", wanted), "201 done schedule 2 is kept as asked");
    EXPECT_EQ(
        answer("POST", "/schedules/import", {wanted, schedule}),
        "200 refused 0 of 2 schedules are in; entry 1: there is a schedule 2 already; entry 2: "
        "the id is missing, or not above 0");
    EXPECT_EQ(answer("POST", "/schedules/import", Json(5'001, 1)),
              "400 bad-request the list has more than 5000 schedules");
    const Json refused = call("POST", "/schedules/import", Json(101, 1)).body;
    EXPECT_EQ(refused["refused"], 101);
    EXPECT_EQ(refused["failed"].size(), 100U);
    wanted["Id"] = 5;
    EXPECT_EQ(answer("POST", "/schedules/import", {wanted, schedule}).substr(0, 42),
              "200 partly 1 of 2 schedules are in; entry ");
}

TEST_F(OperationsTest, FollowAnAnnouncementToItsEnd) {
    auditRow = audit.begin({});
    const Json sent = call("POST", "/announcements",
                           {{"zones", {"Hall", "yard"}},
                            {"items", {12}},
                            {"display", {{"template", "Main"}, {"variables", Json::array()}}}})
                          .body;
    const std::string id = sent["requestId"];
    const std::string where = "/announcements/" + id;
    Json now = call("GET", where).body;
    EXPECT_EQ(now["user"], "ann");
    EXPECT_EQ(now["zones"][1]["id"], "Yard");
    EXPECT_EQ(now["isOver"], false);
    EXPECT_EQ(answer("DELETE", where, {}, "s2"), "200 done request " + id + " is cancelled");
    audit.finish(auditRow, "accepted", "");
    finishAnnouncements(services);
    const AuditRow audited = audit.find({}, 1).front();
    EXPECT_EQ(audited.outcome + ": " + audited.text,
              "cancelled: request " + id + " is over: cancelled");
    now = call("GET", where).body;
    EXPECT_EQ(now["state"], "cancelled");
    EXPECT_EQ(now["parts"].size(), 2U);
    EXPECT_EQ(answer("DELETE", where), "200 as-before request " + id + " is over, as before");

    Message message;
    message.setAudioMessage({12});
    paclient::Announcement other({"Cellar"}, message);
    other.waitUntilAccepted({});
    const std::string others = "/announcements/" + other.requestId();
    now = call("GET", others).body;
    EXPECT_TRUE(now["user"].is_null()) << "another client's";
    EXPECT_EQ(now["zones"][0]["id"], "Cellar");
    EXPECT_EQ(call("DELETE", others).body["ended"].size(), 1U);
    EXPECT_EQ(answer("GET", others).substr(0, 13), "404 not-found");

    pass(2h);
    announcements.removeOld();
    EXPECT_EQ(answer("GET", where).substr(0, 13), "404 not-found");
}

TEST_F(OperationsTest, ReportWhatPlaysInAZone) {
    const std::string id =
        call("POST", "/announcements", {{"zones", {"Hall"}}, {"items", {12}}}).body["requestId"];
    const auto playing = [&](const std::string& zone) {
        return call("GET", "/zones/" + zone).body["announcement"];
    };
    // The server begins it after it has accepted it.
    paclient::Subscription changes;
    while (playing("Hall").is_null() && changes.next(10s) != nullptr) {
    }
    EXPECT_EQ(playing("Hall")["requestId"], id);
    EXPECT_EQ(playing("Hall%2FNorth")["requestId"], id) << "a sub-zone";
    EXPECT_TRUE(playing("Yard").is_null());
}

// ---------------------------------------------------------------------------------------- records

TEST(GroupOfZone, IsWhatNamesHaveInCommon) {
    expectTable(groupOf);
}

TEST(ZoneSinksTest, KnowsThoseOfSubZones) {
    PaSink first;
    first.id = 3;
    first.paZoneList = {"A/B/C", "D"};
    PaSink second;
    second.id = 1;
    second.paZoneList = {"A/B"};
    ZoneSinks sinks({first, second});
    using Ids = std::vector<int>;
    using Names = std::set<std::string>;
    EXPECT_EQ(sinks.of("A"), (Ids{1, 3}));
    EXPECT_EQ(sinks.of("A/B/C"), (Ids{3}));
    first.paZoneList = {"A/B", "E"};
    EXPECT_EQ(sinks.set(first), (Names{"A/B/C", "D", "E"}));
    EXPECT_EQ(sinks.of("A"), (Ids{1, 3}));
    EXPECT_EQ(sinks.remove(1), (Names{"A", "A/B"}));
    EXPECT_EQ(sinks.of("A/B"), (Ids{3}));
}

/// Of "TYPE MESSAGECONTENT".
TEST(ContentText, IsForPeople) {
    expectTable([](const std::string& given) {
        AnnouncementRequest record;
        const auto type = static_cast<Message::Type>(std::stoi(given));
        record.setAudioMessageType(type == Message::DISPLAY_TEMPLATE ? Message::NONE : type);
        record.setVisualMessageType(type == Message::DISPLAY_TEMPLATE ? type : Message::NONE);
        record.messageContent = given;
        return contentText(record);
    });
}

// ----------------------------------------------------------------------------------------- faults

/// What the controller reports of sink 1 and source 1.
struct FaultTimesTest : HostTimeTest {
    using Link = palink::ConnectionChange;

    template <class Record>
    static Record device(int health) {
        Record record;
        record.id = 1;
        record.healthState = static_cast<typename Record::HealthState>(health);
        return record;
    }
    static void publish(paclient::Change change) {
        pass(10s);
        paclient::ChangeStream::instance().publish(std::move(change));
    }
    template <class Record = PaSink>
    static void report(int health) {
        publish(paclient::Updated<Record>{device<Record>(health)});
    }
    /// Ends the connection and begins another one; `report` is what comes over it.
    template <class Report>
    static void connectAgain(Report report) {
        publish(paclient::Deleted<PaSink>{1});
        publish(Link{Link::State::Disconnected, 1, ""});
        publish(Link{Link::State::Connected, 2, ""});
        publish(paclient::Deleted<PaSource>{1});
        report();
        publish(Link{Link::State::Synced, 2, ""});
    }
    /// Seconds since the fault was reported, with "older".
    template <class Record = PaSink>
    std::string fault() {
        const FaultTimes::Fault fault = times.of(device<Record>(PaSink::MINOR_FAULT));
        return std::to_string(ms / 1000 - fault.since) + (fault.isOlder ? " older" : "");
    }

    FaultTimes times;
};

TEST_F(FaultTimesTest, AreThoseOfTheReportsOverAllConnections) {
    EXPECT_EQ(fault(), "0 older") << "not reported yet";
    report(PaSink::INACTIVE);
    report(PaSink::MINOR_FAULT);
    EXPECT_EQ(fault(), "10 older") << "since the first report";
    report<PaSource>(PaSource::HEALTHY);
    report<PaSource>(PaSource::FAULTY);
    EXPECT_EQ(fault<PaSource>(), "0");
    connectAgain([] {
        report(PaSink::MAJOR_FAULT);
        report<PaSource>(PaSource::FAULTY);
    });
    EXPECT_EQ(fault(), "100 older");
    EXPECT_EQ(fault<PaSource>(), "70");

    report(PaSink::UNKNOWN_HEALTHSTATE);
    EXPECT_EQ(fault(), "0") << "the report of the fault is not there yet";
    connectAgain([] { report(PaSink::MAJOR_FAULT); });
    EXPECT_EQ(fault(), "10") << "faulty since the connection was away";
    EXPECT_EQ(fault<PaSource>(), "0 older") << "the server has it no more";
}

TEST_F(OperationsTest, ReportSinceWhenADeviceIsFaulty) {
    const Json inactive = call("GET", "/sinks").body["sinks"][1];
    EXPECT_EQ(inactive["faultyBefore"], true);
    EXPECT_EQ(call("GET", "/zones/Yard/sinks").body["sinks"][0], inactive);
    EXPECT_FALSE(call("GET", "/sinks/1").body.contains("faultySince"));
    const Json reset = call("POST", "/sinks/9/reset", {{"untilBack", false}}).body;
    EXPECT_EQ(reset["faultyBefore"], false);
    EXPECT_EQ(reset["faultySince"].get<std::string>().size(), 20U) << "2026-12-01T05:59:10Z";
}

// ------------------------------------------------------------------------------------------ locks

using LocksTest = ApiTest;

TEST_F(LocksTest, BelongToOneSession) {
    EXPECT_EQ(answer("PUT", "/sources/1/lock"), "200 done source 1 is taken");
    EXPECT_EQ(answer("PUT", "/sources/1/lock"), "200 as-before source 1 is taken, as before");
    const std::string trigger =
        "/triggers/" +
        call("POST", "/triggers", {{"sourceId", 1}, {"priority", 1}}).body["id"].dump() + "/active";
    for (const auto& [method, target, body] :
         std::vector<std::tuple<std::string, std::string, Json>>{
             {"PUT", "/sources/1/lock", {}},
             {"DELETE", "/sources/1/lock", {}},
             {"PUT", "/sources/1/gain", {{"level", 1}}},
             {"PUT", "/sources/1/zones", {{"zones", {"Yard"}}, {"mode", "add"}}},
             {"DELETE", "/sources/1/zones", {}},
             {"PUT", trigger, {}},
             {"DELETE", trigger, {}}}) {
        EXPECT_EQ(answer(method, target, body, "s2"), "409 held source 1 is taken by ann");
    }
    EXPECT_EQ(answer("PUT", "/sources/1/lock", {}, "s3"), "409 held source 1 is taken by ann")
        << "another session of this user";
    const auto heldBy = [&](const char* session) {
        return call("GET", "/locks/1", {}, session).body["heldBy"].dump();
    };
    EXPECT_EQ(heldBy("s1"), "\"this page\"");
    EXPECT_EQ(heldBy("s2"), "\"another page\"");
    EXPECT_EQ(recordsOf("locks", services)[0]["page"], "page of s1") << "for all pages";
    EXPECT_EQ(answer("DELETE", "/sources/1/lock"), "200 done source 1 is released");
    EXPECT_EQ(heldBy("s1"), "null");
    EXPECT_EQ(answer("PUT", "/sources/1/lock", {}, "s2"), "200 done source 1 is taken");

    const Json other = {{"sourceId", 2}, {"client", "other"}, {"locked", true}};
    call("POST", "/simulation/locks", other);
    EXPECT_EQ(answer("PUT", "/sources/2/lock"),
              "409 held source 2 is taken by another client (other)");
}

/// Waits for the server to have released a source.
void awaitRelease(int sourceId) {
    paclient::Subscription changes;
    while (!paclient::lockHolder(sourceId).empty() && changes.next(3s) != nullptr) {
    }
    EXPECT_EQ(paclient::lockHolder(sourceId), "");
}

TEST_F(LocksTest, AreReleasedWithoutTheirPages) {
    const auto isHeld = [&] {
        locks.releaseDue();
        return !paclient::lockHolder(1).empty();
    };
    call("PUT", "/sources/1/lock");
    EXPECT_TRUE(isHeld()) << "its page may be about to come";
    locks.pageOpened("s1");
    locks.pageOpened("s1");
    locks.pageClosed("s1");
    pass(1h);
    EXPECT_TRUE(isHeld()) << "one of two pages is open";
    locks.pageClosed("s1");
    pass(20s);
    locks.pageOpened("s1");
    locks.pageClosed("s1");
    pass(20s);
    EXPECT_TRUE(isHeld()) << "the page was loaded again";
    pass(20s);
    locks.releaseDue();
    awaitRelease(1);
    EXPECT_EQ(answer("PUT", "/sources/1/lock", {}, "s2"), "200 done source 1 is taken");

    locks.pageOpened("s2");
    locks.sessionEnded("s2");
    locks.releaseDue();
    awaitRelease(1);

    call("PUT", "/sources/1/lock");
    locks.releaseDue();
    locks.releaseAll(10s);
    EXPECT_EQ(paclient::lockHolder(1), "");
    std::string trail;
    for (const papanel::AuditRow& row : audit.find({}, 10)) {
        trail += row.user + ", " + row.operation + ' ' + row.target + ", " + row.outcome + ", " +
                 row.text + '\n';
    }
    EXPECT_EQ(trail,
              "ann, release source 1, done, source 1 is released: the panel ends\n"
              "bob, release source 1, done, source 1 is released: the session has ended\n"
              "ann, release source 1, done, source 1 is released: no page of it is open\n");
}

TEST_F(LocksTest, AreForgottenWhenTheServerHasTakenThem) {
    call("PUT", "/sources/1/lock");
    endpoint.unlockSource(1, paclient::ownUUID());
    awaitRelease(1);
    EXPECT_EQ(answer("PUT", "/sources/1/lock", {}, "s2"), "200 done source 1 is taken");
    EXPECT_EQ(call("GET", "/locks/1").body["user"], "bob");
}

// -------------------------------------------------------------------------------- stored answers

/// Requests of a user with keys.
struct AnswersTest : testing::Test {
    std::string answer(const std::string& key, const std::string& content,
                       const std::string& user = "ann") {
        ApiRequest request;
        request.caller.user = user;
        request.headers = {{"idempotency-key", key}};
        request.bytes = content;
        try {
            return answers.answer(request, run).body.get<std::string>();
        } catch (const ApiError& error) {
            return error.code;
        }
    }

    IdempotencyStore answers{10'000};
    std::atomic<int> runs{0};
    std::function<ApiReply()> run = [&] { return ApiReply{200, std::to_string(++runs)}; };
};

TEST_F(AnswersTest, AreThoseOfTheFirstRequestWithTheKey) {
    EXPECT_EQ(answer("k", "x"), "1");
    EXPECT_EQ(answer("k", "x"), "1");
    EXPECT_EQ(answer("k", "y"), "conflict");
    EXPECT_EQ(answer("k", "x", "bob"), "2") << "another user's key";
    for (const char* const wrong : {"", "a b", "\xC3\xA9"}) {
        EXPECT_EQ(answer(wrong, "x"), "bad-request");
    }
    EXPECT_EQ(answer(std::string(65, 'k'), "x"), "bad-request");
    run = [&]() -> ApiReply { throw ApiError(++runs == 3 ? 503 : 409, "no", "no"); };
    EXPECT_EQ(answer("l", "x"), "no");
    EXPECT_EQ(answer("l", "x"), "no");
    EXPECT_EQ(answer("l", "x"), "no");
    EXPECT_EQ(runs, 4) << "where nothing was sent the request runs again, where it was refused not";
}

TEST_F(AnswersTest, AreWaitedForWhileTheFirstRequestRuns) {
    std::promise<void> begun;
    std::promise<void> ends;
    run = [&] {
        begun.set_value();
        ends.get_future().wait();
        return ApiReply{200, std::to_string(++runs)};
    };
    auto first = std::async(std::launch::async, [&] { return answer("k", "x"); });
    begun.get_future().wait();
    auto second = std::async(std::launch::async, [&] { return answer("k", "x"); });
    ends.set_value();
    EXPECT_EQ(first.get() + second.get(), "11");
}

TEST_F(AnswersTest, AreForgottenAfterADayAndTheOldestFirst) {
    static std::int64_t now;
    now = 0;
    pa::setTimeSource({nullptr, [] { return now; }, nullptr});
    answer("k", "x");
    now = std::chrono::milliseconds(23h).count();
    EXPECT_EQ(answer("k", "x"), "1");
    now += std::chrono::milliseconds(2h).count();
    EXPECT_EQ(answer("k", "x"), "2");
    run = [&] { return ApiReply{200, std::string(5'000, 'x')}; };
    answer("l", "x");
    answer("m", "x");
    run = [] { return ApiReply{200, "again"}; };
    EXPECT_EQ(answer("k", "x"), "again") << "too many bytes";
    pa::setTimeSource({});
}

// ------------------------------------------------------------------------------------------ audio

/// A WAV file of 8000 Hz with so many samples.
std::string wav(int samples) {
    const auto number = [](unsigned value, int size) {
        std::string text;
        for (; size > 0; --size, value >>= 8U) {
            text += static_cast<char>(value & 0xFFU);
        }
        return text;
    };
    const auto size = static_cast<unsigned>(samples) * 2;
    return "RIFF" + number(36 + size, 4) + "WAVEfmt " + number(16, 4) + number(1, 2) +
           number(1, 2) + number(8'000, 4) + number(16'000, 4) + number(2, 2) + number(16, 2) +
           "data" + number(size, 4) + std::string(size, '\0');
}

using AudioTest = ApiTest;

TEST_F(AudioTest, BelongsToItsUserForAnHour) {
    bytes = wav(160);
    const Json stored = call("POST", "/uploads?name=../a%2Cb%22%C3%A9.wav").body;
    EXPECT_EQ(stored["name"], "../a,b\"é.wav");
    EXPECT_EQ(stored["seconds"], 0.02);
    const Json request = {{"zones", {"Hall"}}, {"upload", stored["id"]}};
    EXPECT_EQ(call("POST", "/announcements", request).status, 202);
    EXPECT_EQ(answer("POST", "/announcements", request, "s2").substr(0, 13), "404 not-found");

    EXPECT_EQ(call("POST", "/uploads", {}, "s1").status, 201) << "712 bytes in all";
    EXPECT_EQ(answer("POST", "/uploads").substr(0, 13), "413 too-large");
    EXPECT_EQ(call("POST", "/uploads", {}, "s2").status, 201);
    EXPECT_EQ(answer("POST", "/uploads", {}, "s2").substr(0, 14), "503 overloaded") << "3 files";
    AudioStore previews;
    const auto preview = [&] {
        return previews.add("ann", "", bytes, AudioStore::Kind::Preview)->id;
    };
    const std::string oldest = preview();
    const std::string upload = previews.add("ann", "", bytes)->id;
    const std::string second = preview();
    for (int i = 0; i < 4; ++i) {
        preview();
    }
    EXPECT_THROW(previews.find("ann", oldest), ApiError) << "the last five are kept";
    EXPECT_EQ(previews.find("ann", second)->id, second);
    EXPECT_EQ(previews.find("ann", upload)->id, upload);
    AudioStore few({10'000, 10'000, 3, 1h, 1, 1});
    few.add("ann", "", bytes);
    EXPECT_THROW(few.add("ann", "", bytes), ApiError);
    few.add("bob", "", bytes);

    bytes = "RIFF and no more";
    pass(61min);
    EXPECT_EQ(answer("POST", "/uploads"),
              "400 bad-request the file is not a WAV file with sound in it");
    EXPECT_EQ(answer("POST", "/announcements", request).substr(0, 13), "404 not-found");
}

// ---------------------------------------------------------------------------------- hostile texts

struct HostileApi : ApiTest {
    static simserver::Station station() {
        simserver::Station station = operatedStation();
        station.zones.push_back({hostile, 1});
        station.sinks[0].label = hostile;
        return station;
    }
    HostileApi() : ApiTest(station()) {}
};

TEST_F(HostileApi, TextsArriveAsTheyAre) {
    const Json sent = call("POST", "/announcements",
                           {{"zones", {hostile}},
                            {"texts", {hostile}},
                            {"display",
                             {{"template", hostile},
                              {"variables", Json::array({Json::array({"KEY", hostile})})}}}})
                          .body;
    EXPECT_EQ(sent["zones"][0]["id"], hostile);
    EXPECT_EQ(sent["parts"][0]["zones"][0], hostile);
    EXPECT_EQ(call("GET", "/sinks").body["sinks"][0]["label"], hostile);

    ScheduleDefinition wanted = wordy(hostile);
    wanted.Id = 0;
    wanted.paZones = {hostile};
    const Json json = paclient::toJson(wanted, paclient::JsonTexts::None);
    EXPECT_EQ(call("POST", "/schedules", json).body["Id"], 1);
    Json kept = call("GET", "/schedules/export").body[0];
    kept["Id"] = 0;
    EXPECT_EQ(kept, json);

    EXPECT_EQ(
        call("POST", "/triggers", {{"sourceId", 1}, {"priority", 1}, {"displayText", hostile}})
            .status,
        201);
    EXPECT_EQ(call("GET", "/triggers").body["triggers"].back()["displayParameters"], hostile);
}

}  // namespace
