// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

#include "panel/audit/auditExport.h"
#include "panel/audit/auditTexts.h"
#include "panel/audit/utcTime.h"
#include "panel/http/ApiError.h"
#include "tests/panel/hostTime.h"
#include "tests/support/TestFolder.h"
#include "tests/support/tables.h"
#include "tests/support/thrownBy.h"

namespace {

using namespace papanel;
using namespace std::chrono_literals;
using namespace std::string_literals;
namespace fs = std::filesystem;

struct AuditTest : HostTimeTest {
    static AuditEntry entry(const std::string& user = "ann",
                            const std::string& operation = "play") {
        return {user, "192.0.2.1", operation, "Hall", "{}"};
    }

    /// The rows as "ID USER OUTCOME TEXT, ", the newest first.
    static std::string rows(AuditTrail& trail, const AuditFilter& filter = {}, int limit = 100) {
        std::string text;
        for (const AuditRow& row : trail.find(filter, limit)) {
            text += std::to_string(row.id) + ' ' + row.user + ' ' + row.outcome +
                    (row.text.empty() ? "" : ' ' + row.text) + ", ";
        }
        return text;
    }

    const TestFolder folder;
    const fs::path file = folder.path() / "audit.db";
};

TEST_F(AuditTest, WhatWasAtWorkWhenTheProcessEndedIsUnknown) {
    {
        AuditTrail trail(file, 1);
        const std::int64_t first = trail.begin(entry());
        for (const char* const outcome : {"accepted", "done", "accepted", "unknown"}) {
            trail.finish(first, outcome, "");  // the end counts, whenever it comes
        }
        trail.finish(trail.begin(entry("bob")), "accepted", "");
        trail.begin(entry("cat"));
        // As a process leaves them that is killed now.
        fs::copy(file, folder.path() / "killed.db");
        fs::copy(file.string() + "-wal", folder.path() / "killed.db-wal");
        EXPECT_EQ(rows(trail), "3 cat pending, 2 bob accepted, 1 ann done, ");
        EXPECT_EQ(thrownBy<std::runtime_error>([this] { AuditTrail(file, 1); }),
                  "cannot keep the audit trail in \"" + file.string() +
                      "\": it is in use by another process");
    }
    AuditTrail trail(folder.path() / "killed.db", 1);
    const std::string unknown = " unknown papanel ended before the outcome was known, ";
    EXPECT_EQ(rows(trail), "3 cat" + unknown + "2 bob" + unknown + "1 ann done, ");
    for (const AuditRow& row : trail.find({}, 2)) {
        EXPECT_EQ(row.finished, std::nullopt);
    }
    struct stat status {};
    stat(file.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_THROW(AuditTrail(folder.path() / "missing/audit.db", 1), std::runtime_error);
}

TEST_F(AuditTest, WhatCannotBeWrittenIsNotToBeSent) {
    AuditTrail trail(file, 1);
    const std::int64_t begun = trail.begin(entry());
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full{0, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    const std::string refused = thrownBy<ApiError>([&] { trail.begin(entry()); });
    trail.finish(begun, "done", "");
    EXPECT_FALSE(trail.keepHouse());
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(refused.rfind("the audit trail cannot be used: ", 0), 0U) << refused;
    trail.begin(entry());
    EXPECT_EQ(rows(trail), "2 ann pending, 1 ann pending, ");
    trail.keepHouse();
    EXPECT_EQ(rows(trail), "2 ann pending, 1 ann done, ") << "written later";
}

TEST_F(AuditTest, IsFoundByFiltersAndForgottenInSteps) {
    AuditTrail trail("", 2);
    for (int hour = 0; hour < 500; ++hour) {  // to 1001696400 s
        const auto id =
            trail.begin(entry(hour % 2 == 0 ? "ann" : "bob", hour % 5 == 0 ? "a" : "b"));
        trail.finish(id, hour % 3 == 0 ? "done" : "refused", "");
        pass(1h);
    }
    const std::int64_t start = 1'000'000'000'000;
    const std::int64_t hourMS = 3'600'000;
    AuditFilter filter;
    filter.user = "an";
    filter.outcome = "done";
    filter.operation = "b";
    EXPECT_EQ(rows(trail, filter, 2), "499 ann done, 493 ann done, ");  // hours 498, 492
    filter.before = 493;
    EXPECT_EQ(rows(trail, filter, 1), "487 ann done, ");
    filter = {};
    filter.from = start + 7 * hourMS;
    filter.until = start + 9 * hourMS;
    EXPECT_EQ(rows(trail, filter), "9 ann refused, 8 bob refused, ");

    pass(48h * 365);
    EXPECT_FALSE(trail.keepHouse());
    EXPECT_EQ(trail.find({}, 1000).size(), 500U) << "a clock may be wrong for a moment";
    pass(-48h * 365);
    const auto oldest = [&] { return trail.find({}, 1000).back().id; };
    EXPECT_TRUE(trail.keepHouse());
    EXPECT_EQ(oldest(), 201);
    EXPECT_TRUE(trail.keepHouse());
    EXPECT_FALSE(trail.keepHouse());
    EXPECT_EQ(oldest(), 453);  // begun 48 hours ago
    EXPECT_EQ(trail.begin(entry()), 501);
    for (int i = 0; i < 9'000; ++i) {
        trail.begin(entry("cat"));
    }
    filter = {};
    filter.user = "bob";
    EXPECT_EQ(rows(trail, filter, 1).substr(0, 8), "500 bob ");
    filter.user = "dan";
    EXPECT_EQ(rows(trail, filter), "");
}

TEST_F(AuditTest, InMemoryTheNewestAreKept) {
    AuditTrail trail("", 1);
    for (int i = 0; i < AuditTrail::mostInMemory + 2; ++i) {
        trail.begin(entry());
    }
    EXPECT_EQ(trail.find({}, 20000).size(), std::size_t{AuditTrail::mostInMemory});
}

TEST_F(AuditTest, RequestsAreKeptWithoutPasswordsAndWithinBounds) {
    expectTable([](const std::string& json) {
        return auditedRequest(json == "none" ? Json() : Json::parse(json));
    });
    EXPECT_EQ(auditedRequest({{"text", std::string(5000, 'x')}}),
              R"({"text":")" + std::string(4096 - 9, 'x') + "\u2026");
    Json deep = 1;
    for (int level = 0; level < 40; ++level) {
        deep = Json::array({deep});
    }
    EXPECT_EQ(auditedRequest(deep), std::string(16, '[') + R"("...")" + std::string(16, ']'));
    AuditTrail trail(file, 1);
    trail.begin({"a\0b"s, "\xFF", "\r\n<b>", std::string(2000, 'z'), "{}"});
    const AuditRow row = trail.find({}, 1).front();
    EXPECT_EQ(row.user, "a\uFFFDb");
    EXPECT_EQ(row.address, "\uFFFD");
    EXPECT_EQ(row.operation, "\r\n<b>");
    EXPECT_EQ(row.target, std::string(1024, 'z') + "\u2026");
}

/// Of {"parts", "query", "body"}, each of which may be missing.
TEST_F(AuditTest, TargetsAreWhatRequestsName) {
    const auto target = [](const Json& given) {
        ApiRequest request;
        request.parts = given.value("parts", request.parts);
        const Json query = given.value("query", Json::object());
        for (const auto& parameter : query.items()) {
            request.query.emplace(parameter.key(), parameter.value());
        }
        request.body = given.value("body", Json());
        return auditedTarget(request);
    };
    expectTable([&](const std::string& given) { return target(Json::parse(given)); });
    const Json many(1000, "Platform");
    EXPECT_EQ(target({{"body", {{"zones", many}}}}).size(), 203U) << "200 bytes and an ellipsis";
}

TEST_F(AuditTest, IsExportedInParts) {
    AuditTrail trail("", 1);
    int parts = 0;
    const auto exported = [&](auto write, int mostParts = 1000) {
        std::string text;
        parts = 0;
        write(trail, AuditFilter(), [&](const std::string& part) {
            text += part;
            return ++parts < mostParts;
        });
        return text;
    };
    EXPECT_EQ(exported(exportJson), "[]\n");
    trail.finish(trail.begin({"=1+1", "::1", "play", "say \"hi\", all", ""}), "done", "-1");
    EXPECT_EQ(exported(exportCsv),
              "id,time,user,address,operation,target,request,outcome,text,finished\r\n"
              "\"1\",\"2001-09-09T01:46:40.000Z\",\"'=1+1\",\"::1\",\"play\","
              "\"say \"\"hi\"\", all\",\"\",\"done\",\"'-1\",\"2001-09-09T01:46:40.000Z\"\r\n");
    for (int i = 0; i < 1200; ++i) {
        trail.begin(entry());
    }
    const Json all = Json::parse(exported(exportJson));
    ASSERT_EQ(all.size(), 1201U);
    EXPECT_EQ(all[0]["id"], 1201);
    EXPECT_EQ(all[1200]["text"], "-1");
    EXPECT_EQ(all[0]["finished"], Json());
    EXPECT_GE(parts, 3);
    exported(exportCsv, 1);
    exported(exportJson, 1);
    EXPECT_EQ(parts, 1) << "the client is away";
}

TEST(UtcTime, IsReadAsItIsWritten) {
    expectTable([](const std::string& text) {
        const auto moment = utcMoment(text);
        return moment ? std::to_string(*moment) + ' ' + utcText(*moment) : "none";
    });
}

}  // namespace
