// SPDX-License-Identifier: Apache-2.0
// The records of every kind: their columns, what an update compares and copies, the notifications,
// their withdrawal.
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

#include "tests/controller/fixtures.h"
#include "tests/controller/recordKinds.h"

namespace {

struct RecordsTest : ControllerTest, testing::WithParamInterface<RecordCase> {
    std::string handle(int key, const pa::RecordFields& fields,
                       PAController& handler = gPaController) {
        pa::RecordList record(fields);
        kind.handle(handler, key, record.list());
        // The holders of source locks have a test of their own.
        return std::regex_replace(transcript(), std::regex(".*Lock Info.*\n"), "");
    }
    /// What is logged with a property, the pause, and calls and events.
    std::string expected(const std::string& logged, const std::string& calls) const {
        const std::string text = kind.lines(logged);
        return (text.empty() ? "" : "*log 1 " + kind.handler + ": " + text) + pause + calls;
    }

    const RecordCase& kind = GetParam();
    const pa::RecordFields full = fieldsOf(kind.line("record"));
    const std::string entry = kind.lines("entry");
    const std::string pause = kind.is("pauses") ? "sleep 100\n" : "";
};

INSTANTIATE_TEST_SUITE_P(Every, RecordsTest, testing::ValuesIn(everyKind()),
                         [](const auto& row) { return row.param.handler; });

TEST_P(RecordsTest, DecodesEveryColumnAndKeepsDefaults) {
    handle(7, full);
    EXPECT_EQ(kind.cache(), entry);
    handle(2, {"1"});
    const std::string first = kind.lines("first");
    EXPECT_EQ(kind.cache(), kind.is("byArrival") ? entry + first : first + entry);
    if (kind.lookUp != nullptr) {
        EXPECT_EQ(kind.lookUp(7), kind.line("entry"));
        EXPECT_EQ(kind.lookUp(12), "nothing");
    }
}

TEST_P(RecordsTest, AnUpdateCopiesWhatItCompares) {
    std::istringstream columns(kind.line("copied"));
    const std::set<std::size_t> copied(std::istream_iterator<std::size_t>(columns), {});
    for (std::size_t column = 0; column < full.size(); ++column) {
        handle(7, full);
        handle(7, with(full, column, "0"));
        EXPECT_EQ(kind.cache() != entry, copied.count(column) > 0) << "column " << column;
    }
}

TEST_P(RecordsTest, NotifiesAndLogsWhatChanges) {
    debugLevel = 1;
    EXPECT_EQ(handle(7, full), expected("added", kind.lines("change")));
    EXPECT_EQ(handle(7, full),
              expected(kind.is("alwaysLogs") ? "updated" : "", kind.lines("same")));
    const std::size_t unlogged = std::stoul(kind.line("copied"));
    EXPECT_EQ(handle(7, with(full, unlogged, "0")), expected("updated", kind.lines("change")));
    if (kind.is("keepsId")) {
        const std::string before = kind.cache();
        EXPECT_EQ(handle(7, {"99", "other"}), expected("added", kind.lines("change")));
        EXPECT_EQ(kind.cache(), before);
    }
}

TEST_P(RecordsTest, PostsItsEventsWithoutAnObserver) {
    PAController unobserved;
    transcript();
    EXPECT_EQ(handle(7, full, unobserved), pause + kind.lines("quiet"));
    kind.remove(unobserved, 7);
    const std::string withdrawn = kind.lines("withdrawn");
    EXPECT_EQ(transcript(), withdrawn.substr(withdrawn.find('\n') + 1));
}

TEST_P(RecordsTest, IsWithdrawnByKeyOrAll) {
    handle(7, full);
    handle(8, full);
    kind.remove(controller, 12);
    EXPECT_EQ(transcript(), "");
    kind.remove(controller, 7);
    EXPECT_EQ(transcript(), kind.lines("withdrawn"));
    EXPECT_NE(kind.cache(), "");
    kind.remove(controller, 0);
    EXPECT_EQ(kind.cache(), "");
}

TEST_P(RecordsTest, IsNotReportedAfterAWithdrawalInACallbackOrDuringThePause) {
    PAController watched;
    RecordingObserver second("p");
    watched.registerObserver(&observer);
    watched.registerObserver(&second);
    transcript();
    const auto withdraw = [&] {
        observer.inCallback = nullptr;
        kind.remove(watched, 7);
    };
    const auto forBoth = [](const std::string& calls) {
        return std::regex_replace(calls, std::regex("\\*o(.*\n)"), "*o$1*p$1");
    };
    const std::string withdrawn = forBoth(kind.lines("withdrawn"));
    const std::string change = kind.lines("change");
    observer.inCallback = withdraw;
    EXPECT_EQ(handle(7, full, watched),
              pause + (withdrawn.empty() ? forBoth(change)
                                         : change.substr(0, change.find('\n') + 1) + withdrawn));
    if (pause != "") {
        host().sleepAction = [&](int) { withdraw(); };
        EXPECT_EQ(handle(7, full, watched), pause + withdrawn);
    }
}

TEST_P(RecordsTest, ReportsARecordThatIsNotThere) {
    kind.handle(controller, 5, nullptr);
    EXPECT_EQ(transcript(), kind.is("ignoresMissing")
                                ? ""
                                : "error 3 " + kind.handler + ": no record for key >5<\n");
    EXPECT_EQ(kind.cache(), "");
}

}  // namespace
