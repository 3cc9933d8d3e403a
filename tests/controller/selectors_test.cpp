#include <gtest/gtest.h>
#include <sstream>

#include "sdk/PAController.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

const RecordFields full = fieldsOf(R"(41|4|3|s|"7"|"Keys"|2|s|1|s|2|s|1)");

std::string texts(const std::vector<PaSelector>& selectors) {
    std::ostringstream out;
    for (const PaSelector& s : selectors) {
        out << s.id << '|' << s.associatedSourceId << '|' << s.label << '|' << s.type << '|'
            << s.number << '|' << s.protection << '|' << s.mode << '|' << s.dynamicRestriction
            << '|' << s.state << '|' << s.paZoneList.size() << ' ';
    }
    return out.str();
}

struct SelectorsTest : testing::Test {
    SelectorsTest() {
        recordingHost::reset();
        controller.registerObserver(&observer);
    }

    std::string handle(int key, const RecordFields& fields) {
        RecordList record(fields);
        controller.addUpdatePaSelector(key, record.list());
        return recordingHost::transcript();
    }

    RecordingObserver observer{"o"};
    PAController controller;
};

TEST_F(SelectorsTest, CachesThemAndTellsOfEachChange) {
    debugLevel = 1;
    EXPECT_EQ(handle(9, full),
              "*log 1 addUpdatePaSelector: selectorId >41< added to list. Total selectors >1<\n"
              "*o: selector 41 \"Keys\"\n*event 12 41\n");
    EXPECT_EQ(handle(9, full), "*event 12 41\n");
    EXPECT_EQ(handle(9, with(full, 12, "2")),
              "*log 1 addUpdatePaSelector: selectorId >41< updated\n"
              "*o: selector 41 \"Keys\"\n*event 12 41\n");
    EXPECT_EQ(handle(9, {"42"}),
              "*log 1 addUpdatePaSelector: selectorId >41< added to list. Total selectors >1<\n"
              "*o: selector 41 \"Keys\"\n*event 12 41\n")
        << "an entry with another id stays as it is";
    handle(2, {"5"});
    EXPECT_EQ(texts(controller.getPaSelectors()),
              "5|0||0||0|0|0|3|0 41|4|\"Keys\"|3|\"7\"|2|1|2|2|0 ");
    debugLevel = 0;
    for (const std::size_t column : std::vector<std::size_t>{1, 2, 4, 5, 6, 8, 10, 12}) {
        const int key = static_cast<int>(column) + 10;
        handle(key, full);
        const RecordFields changed = with(full, column, "0");
        EXPECT_NE(handle(key, changed).find("*o: selector 41"), std::string::npos) << column;
        EXPECT_EQ(handle(key, changed), "*event 12 41\n") << column << " was not copied";
    }
    EXPECT_EQ(handle(0, full), "");
    controller.addUpdatePaSelector(1, nullptr);
    EXPECT_EQ(recordingHost::transcript(), "");
}

TEST_F(SelectorsTest, AnswersForASourceAndASelector) {
    handle(9, full);
    handle(8, with(with(full, 0, "40"), 12, "0"));
    handle(7, with(with(full, 1, "5"), 12, "2"));
    handle(6, {"39", "-1"});
    EXPECT_EQ(texts(controller.getPaSelectors(4)),
              "40|4|\"Keys\"|3|\"7\"|2|1|2|0|0 41|4|\"Keys\"|3|\"7\"|2|1|2|1|0 ");
    EXPECT_TRUE(controller.getPaSelectors(0).empty());
    EXPECT_TRUE(controller.getPaSelectors(-1).empty());
    EXPECT_EQ(controller.getPaSelectorState(40), PaSelector::ENABLED_AND_UNKNOWN);
    EXPECT_EQ(controller.getPaSelectorState(41), PaSelector::ENABLED_AND_ACTIVE);
    for (const int unknown : {9, 0, -1}) {
        EXPECT_EQ(controller.getPaSelectorState(unknown), PaSelector::DISABLED);
    }
    EXPECT_TRUE(controller.getPaSinksForSelector(41).empty());
}

TEST_F(SelectorsTest, ReservedOperationsPassTheMutexAndDoNothing) {
    handle(9, full);
    const auto entries = [this](void (*call)(PAController&)) {
        recordingHost::mutexEntries();
        call(controller);
        return recordingHost::mutexEntries();
    };
    using C = PAController;
    EXPECT_EQ(entries([](C& c) { c.getPaSelectors(0), c.getPaSelectorState(0); }), 0);
    EXPECT_EQ(entries([](C& c) { c.getPaSinksForSelector(41), c.getPaSinksForSelector(0); }), 1);
    EXPECT_EQ(entries([](C& c) { c.addPaSinkToSelector(41, 1); }), 1);
    EXPECT_EQ(entries([](C& c) { c.addPaSinkToSelector(41, 0), c.addPaSinkToSelector(0, 1); }), 0);
    EXPECT_EQ(entries([](C& c) { c.deletePaSinkFromSelector(41, 0); }), 1);
    EXPECT_EQ(entries([](C& c) { c.deletePaSinkFromSelector(0, 1); }), 0);
    EXPECT_EQ(entries([](C& c) { c.enablePaSelector(41), c.enablePaSelector(0); }), 1);
    EXPECT_EQ(entries([](C& c) { c.disablePaSelector(41), c.disablePaSelector(-1); }), 1);
    EXPECT_EQ(controller.getPaSelectorState(41), PaSelector::ENABLED_AND_INACTIVE);
    EXPECT_EQ(recordingHost::transcript(), "");
}

}  // namespace
