// The records of every kind: their columns, what an update compares and copies, the notifications,
// their withdrawal.
#include <sstream>

#include "tests/controller/fixtures.h"
#include "tests/controller/recordKinds.h"

namespace {

struct RecordsTest : WatchedController, testing::WithParamInterface<RecordCase> {
    std::string handle(int key, const pa::RecordFields& fields) {
        pa::RecordList record(fields);
        kind.handle(controller, key, record.list());
        std::istringstream lines(recordingHost::transcript());
        std::string kept;
        for (std::string line; std::getline(lines, line);) {
            // The holders of source locks have a test of their own.
            kept += line.find("Lock Info") == std::string::npos ? line + "\n" : "";
        }
        return kept;
    }
    std::string expected(const std::string& logged, const std::string& notified) const {
        return (logged.empty() ? "" : "*log 1 " + (kind.handler + (": " + logged + "\n"))) +
               (kind.pauses ? "sleep 100\n" : "") + notified;
    }
    std::string changed(const std::string& logged) const {
        return expected(logged, kind.notified + kind.event);
    }

    const RecordCase& kind = GetParam();
};

INSTANTIATE_TEST_SUITE_P(Every, RecordsTest, testing::ValuesIn(everyKind()),
                         [](const auto& row) { return std::string(row.param.handler); });

TEST_P(RecordsTest, DecodesEveryColumnAndKeepsDefaults) {
    handle(7, kind.full);
    EXPECT_EQ(kind.cache(controller), kind.cached + "\n");
    handle(2, {"1"});
    EXPECT_EQ(kind.cache(controller), kind.byArrival ? kind.cached + "\n" + kind.defaults + "\n"
                                                     : kind.defaults + "\n" + kind.cached + "\n");
    if (kind.lookUp != nullptr) {
        EXPECT_EQ(kind.lookUp(controller, 7), kind.cached);
        EXPECT_EQ(kind.lookUp(controller, 12), "nothing");
    }
}

TEST_P(RecordsTest, AnUpdateCopiesWhatItCompares) {
    for (std::size_t column = 0; column < kind.full.size(); ++column) {
        handle(7, kind.full);
        handle(7, with(kind.full, column, "0"));
        EXPECT_EQ(kind.cache(controller) != kind.cached + "\n", kind.copied.count(column) > 0)
            << "column " << column;
    }
}

TEST_P(RecordsTest, NotifiesAndLogsWhatChanges) {
    debugLevel = 1;
    EXPECT_EQ(handle(7, kind.full), changed(kind.added));
    EXPECT_EQ(handle(7, kind.full), expected(kind.alwaysLogs ? kind.updated : "", kind.unchanged));
    EXPECT_EQ(handle(7, with(kind.full, kind.unlogged, "0")), changed(kind.updated));
    if (kind.keepsId) {
        const std::string before = kind.cache(controller);
        EXPECT_EQ(handle(7, {"99", "other"}), changed(kind.added));
        EXPECT_EQ(kind.cache(controller), before);
    }
}

TEST_P(RecordsTest, AreWithdrawnOneOrAll) {
    handle(7, kind.full);
    handle(8, kind.full);
    kind.remove(controller, 12);
    EXPECT_EQ(recordingHost::transcript(), "");
    kind.remove(controller, 7);
    EXPECT_EQ(recordingHost::transcript(), kind.deleted);
    EXPECT_NE(kind.cache(controller), "");
    kind.remove(controller, 0);
    EXPECT_EQ(kind.cache(controller), "");
}

TEST_P(RecordsTest, WithdrawnDuringThePauseOrACallbackNobodyElseIsTold) {
    const auto withdraw = [this] {
        observer.inCallback = nullptr;
        kind.remove(controller, 7);
    };
    observer.inCallback = withdraw;
    EXPECT_EQ(handle(7, kind.full), expected("", kind.notified + kind.deleted));
    if (kind.pauses) {
        recordingHost::host().sleepAction = [&](int) { withdraw(); };
        EXPECT_EQ(handle(7, kind.full), expected("", kind.deleted));
    }
}

TEST_P(RecordsTest, ReportsARecordThatIsNotThere) {
    kind.handle(controller, 5, nullptr);
    EXPECT_EQ(recordingHost::transcript(),
              kind.ignoresMissing
                  ? ""
                  : "error 3 " + std::string(kind.handler) + ": no record for key >5<\n");
    EXPECT_EQ(kind.cache(controller), "");
}

struct OwnedRecordsTest : RecordsTest {};

INSTANTIATE_TEST_SUITE_P(Every, OwnedRecordsTest, testing::ValuesIn(ownedKinds()),
                         [](const auto& row) { return std::string(row.param.handler); });

TEST_P(OwnedRecordsTest, OnAnIndirectConnectionOnlyTheLocalServersCount) {
    constexpr std::size_t owner = 10;
    EXPECT_EQ(handle(7, with(kind.full, owner, "7")), changed(""));
    gIndirectCXSConnection = true;
    EXPECT_EQ(handle(8, with(kind.full, owner, "7")), "");
    EXPECT_EQ(handle(8, kind.full), changed(""));
    EXPECT_EQ(handle(9, with(kind.full, owner, "(null)")), changed(""));
}

}  // namespace
