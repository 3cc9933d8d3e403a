// The controller object: observers, the worker, the decoding of numbers, the record list.
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

#include "sdk/PAController.h"
#include "sdk/Payload.h"
#include "sdk/numberText.h"
#include "sdk/recordColumns.h"
#include "tests/recordingHost/RecordingHost.h"

namespace {

struct ControllerTest : testing::Test {
    ControllerTest() { recordingHost::reset(); }

    void addSource(int key, const std::string& label, const std::string& lock) {
        RecordList record(with(with({std::to_string(key)}, 2, label), 9, lock));
        controller.addUpdatePaSource(key, record.list());
    }

    /// Lets the worker make `passes` passes.
    void runWorker(int passes) {
        struct Stop {};
        recordingHost::setSleepAction([&passes](int) {
            if (--passes == 0) {
                throw Stop();
            }
        });
        EXPECT_THROW(controller.threadFunction(nullptr), Stop);
        recordingHost::setSleepAction(nullptr);
    }

    PAController controller;
};

TEST_F(ControllerTest, RegistersEachObserverOnce) {
    debugLevel = 1;
    RecordingObserver a("a");
    RecordingObserver b("b");
    controller.registerObserver(nullptr);
    controller.registerObserver(&b);
    controller.registerObserver(&a);
    controller.registerObserver(&b);
    EXPECT_EQ(recordingHost::transcript(),
              "log 1 registerObserver: Adding observer to list. Total Observers >1<\n"
              "log 1 registerObserver: Adding observer to list. Total Observers >2<\n"
              "error 1 registerObserver: paObserver already part of list. Not adding to list\n");

    debugLevel = 0;
    addSource(3, "Desk", "");
    EXPECT_EQ(recordingHost::transcript(),
              "sleep 100\n*b: source 3 Desk\n*a: source 3 Desk\n*event 6 3\n");
}

TEST_F(ControllerTest, GoesOnAfterAnObserverThatThrows) {
    RecordingObserver a("a");
    RecordingObserver b("b");
    a.inCallback = [] { throw std::runtime_error("no idea"); };
    b.inCallback = [] { throw 5; };
    controller.registerObserver(&a);
    controller.registerObserver(&b);
    addSource(3, "Desk", "");
    EXPECT_EQ(recordingHost::transcript(),
              "sleep 100\n"
              "*a: source 3 Desk\n*error 1 notifyObservers: an observer threw >no idea<\n"
              "*b: source 3 Desk\n*error 1 notifyObservers: an observer threw\n"
              "*event 6 3\n");
}

TEST_F(ControllerTest, StartsItsWorkerOnceTheMutexIsReady) {
    PAController fresh;
    EXPECT_EQ(recordingHost::transcript(), "mutex ready\nthread started\n");
}

TEST_F(ControllerTest, RenewsTheLocksOfThisClientInOrder) {
    addSource(9, "a", "uuid-self");
    addSource(2, "b", "somebody-else");
    addSource(4, "c", "");
    addSource(5, "d", "uuid-self");
    debugLevel = 3;
    recordingHost::transcript();
    runWorker(1);
    EXPECT_EQ(recordingHost::transcript(),
              "log 3 threadFunction: PAController worker thread started\n"
              "*send -1 92/7 1 9,uuid-self\n"
              "*log 1 threadFunction: sending extend lock for sourceId >9<, UUID >uuid-self<\n"
              "*send -1 92/7 1 5,uuid-self\n"
              "*log 1 threadFunction: sending extend lock for sourceId >5<, UUID >uuid-self<\n"
              "sleep 9000\n");

    debugLevel = 0;
    gIndirectCXSConnection = true;
    runWorker(2);
    EXPECT_EQ(recordingHost::transcript(),
              "*send -2 92/7 1 9,uuid-self\n*send -2 92/7 1 5,uuid-self\nsleep 9000\n"
              "*send -2 92/7 1 9,uuid-self\n*send -2 92/7 1 5,uuid-self\nsleep 9000\n");

    gAudioServerInstance = nullptr;
    runWorker(1);
    EXPECT_EQ(recordingHost::transcript(), "sleep 9000\n");
}

TEST_F(ControllerTest, ReportsMissingRecords) {
    controller.addUpdatePaSource(1, nullptr);
    controller.addUpdatePaSink(2, nullptr);
    controller.addUpdateAttachedPaZone(3, nullptr);
    controller.updateFromTTS_Ports(4, nullptr);
    controller.addUpdateAnnouncementRequest(5, nullptr);
    EXPECT_EQ(recordingHost::transcript(),
              "error 3 addUpdatePaSource: no record for key >1<\n"
              "error 3 addUpdatePaSink: no record for key >2<\n"
              "error 3 addUpdateAttachedPaZone: no record for key >3<\n"
              "error 3 updateFromTTS_Ports: no record for key >4<\n"
              "error 3 addUpdateAnnouncementRequest: no record for key >5<\n");
}

TEST(NumberText, ReadsIntegersAsTheTable) {
    constexpr int most = std::numeric_limits<int>::max();
    constexpr int least = std::numeric_limits<int>::min();
    const std::vector<std::pair<const char*, int>> cases = {
        {"12", 12},
        {"-7", -7},
        {"+7", 7},
        {" \t\n\v\f\r9", 9},
        {"12abc", 12},
        {"abc", 0},
        {"", 0},
        {"-", 0},
        {"- 5", 0},
        {"1.9", 1},
        {"0x10", 0},
        {"2147483647", most},
        {"2147483648", most},
        {"99999999999999999999999", most},
        {"-2147483648", least},
        {"-2147483649", least},
        {"-99999999999999999999999", least},
        {"1,5", 1},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(decodeInt(text), value) << text;
    }
}

TEST(NumberText, ReadsAndWritesFloatingPointAsTheTables) {
    const std::vector<std::pair<const char*, double>> read = {
        {"-12.5", -12.5}, {" 3", 3.0}, {"1e2x", 100.0}, {"1,5", 1.0}, {"x", 0.0}, {"0x10", 16.0}};
    for (const auto& [text, value] : read) {
        EXPECT_EQ(decodeDouble(text), value) << text;
    }
    const std::vector<std::pair<double, const char*>> written = {{-6.5, "-6.5"},
                                                                 {0.0, "0"},
                                                                 {-20, "-20"},
                                                                 {1.0 / 3, "0.333333"},
                                                                 {1234567.0, "1.23457e+06"},
                                                                 {100000.0, "100000"},
                                                                 {1e-5, "1e-05"},
                                                                 {-12.50, "-12.5"}};
    for (const auto& [value, text] : written) {
        EXPECT_EQ(Payload().level(value).text(), text);
    }
}

TEST(RecordDecoding, TakesWhatIsThereAndNothingElse) {
    struct Target {
        int a = -1;
        std::string b = "default";
        double c = -1;
        int d = -1;
    };
    constexpr Column<Target> columns[] = {integer<&Target::a>, asReceived<&Target::b>, skipped,
                                          floating<&Target::c>, integer<&Target::d>};
    const auto decode = [&columns](const RecordFields& fields) {
        RecordList list(fields);
        Target target;
        decodeRecord(*list.list(), columns, target);
        return std::to_string(target.a) + "|" + target.b + "|" + std::to_string(target.c) + "|" +
               std::to_string(target.d);
    };
    EXPECT_EQ(decode({}), "-1|default|-1.000000|-1");
    EXPECT_EQ(decode({"5", "text", "skipped", "2.5", "6"}), "5|text|2.500000|6");
    EXPECT_EQ(decode({"5", "text", "skipped", "2.5", "6", "extra", "more"}), "5|text|2.500000|6");
    EXPECT_EQ(decode({"5", "text", "skipped"}), "5|text|-1.000000|-1");
    EXPECT_EQ(decode({"5x", "(null)", std::nullopt, "x", "(null)"}), "5|default|0.000000|-1");
    EXPECT_EQ(decode({"", "(null) ", "", "", "x"}), "-1|(null) |-1.000000|0");
    EXPECT_EQ(decode({std::nullopt, "(NULL)"}), "-1|(NULL)|-1.000000|-1");

    // A node without data is an absent field, too.
    RecordList list({"5", "text"});
    list.list()->listTop->dataPtr = nullptr;
    Target target;
    decodeRecord(*list.list(), columns, target);
    EXPECT_EQ(target.a, -1);
    EXPECT_EQ(target.b, "text");
}

TEST(RecordListTest, LinksEveryField) {
    RecordList record({"a", std::nullopt, "c"});
    const TEVlist& list = *record.list();
    EXPECT_EQ(list.elements, 3U);
    EXPECT_EQ(list.listTop->prevNode, nullptr);
    EXPECT_EQ(list.listTop->nextNode->nextNode, list.listBot);
    EXPECT_EQ(list.listBot->prevNode, list.listTop->nextNode);
    EXPECT_EQ(list.listBot->nextNode, nullptr);
    EXPECT_EQ(list.listBot->ourList, &list);
    EXPECT_EQ(fieldText(*list.listTop->nextNode), nullptr);
    EXPECT_EQ(RecordList({}).list()->listTop, nullptr);
}

}  // namespace
