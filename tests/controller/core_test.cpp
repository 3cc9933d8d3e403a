// The controller object: observers, the worker, the decoding of numbers and records.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "sdk/records/numberText.h"
#include "sdk/records/recordColumns.h"
#include "sdk/requests/Payload.h"
#include "tests/controller/fixtures.h"

using namespace pa;

namespace {

struct ControllerTest : OwnController {
    void addSource(int key, const std::string& label, const std::string& lock) {
        pa::RecordList record(with(with({std::to_string(key)}, 2, label), 9, lock));
        controller.addUpdatePaSource(key, record.list());
    }
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

TEST_F(ControllerTest, ReportsNothingAfterADeletion) {
    RecordingObserver a("a");
    RecordingObserver b("b");
    controller.registerObserver(&a);
    controller.registerObserver(&b);
    for (const auto handle :
         {&PAController::addUpdatePaSource, &PAController::addUpdatePaSink,
          &PAController::updateScheduleList, &PAController::addUpdateAnnouncementRequest}) {
        a.inCallback = [&] {
            a.inCallback = nullptr;
            controller.deleteAudioVideoControllerInfo(0, 0, 3);
        };
        pa::RecordList record({"3"});
        (controller.*handle)(3, record.list());
        const std::string transcript = recordingHost::transcript();
        const std::size_t first = transcript.find("*b: ");
        EXPECT_EQ(first, transcript.rfind("*b: ")) << transcript;
        EXPECT_NE(transcript.find("deleted", first), std::string::npos) << transcript;
    }
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
    EXPECT_EQ(passOf(controller),
              "log 3 threadFunction: PAController worker thread started\n"
              "*send -1 92/7 1 9,uuid-self\n"
              "*log 1 threadFunction: sending extend lock for sourceId >9<, UUID >uuid-self<\n"
              "*send -1 92/7 1 5,uuid-self\n"
              "*log 1 threadFunction: sending extend lock for sourceId >5<, UUID >uuid-self<\n"
              "sleep 9000\n");

    debugLevel = 0;
    gIndirectCXSConnection = true;
    struct Stop {};
    recordingHost::host().sleepAction = [passes = 0](int) mutable {
        if (++passes == 2) {
            throw Stop();
        }
    };
    EXPECT_THROW(controller.threadFunction(nullptr), Stop);
    const std::string pass =
        "*send -2 92/7 1 9,uuid-self\n*send -2 92/7 1 5,uuid-self\nsleep 9000\n";
    EXPECT_EQ(recordingHost::transcript(), pass + pass);

    gAudioServerInstance = nullptr;
    EXPECT_EQ(passOf(controller), "sleep 9000\n");
}

TEST(NumberText, ReadsIntegersAndSaturates) {
    constexpr long long most = std::numeric_limits<int>::max();
    constexpr long long least = std::numeric_limits<int>::min();
    for (const char* const text :
         {"12", "-7", "+7", "12abc", "", "abc", "-", "- 5", "1.9", "1,5", "0x10", " \t\n\v\f\r9",
          "2147483647", "2147483648", "99999999999999999999999", "-2147483648", "-2147483649",
          "-99999999999999999999999"}) {
        const long long value = std::strtoll(text, nullptr, 10);
        EXPECT_EQ(decodeInt(text), std::clamp(value, least, most)) << text;
    }
}

TEST(NumberText, ReadsAndWritesFloatingPointAsTheTables) {
    const std::pair<const char*, double> read[] = {{"-12.5", -12.5}, {" 3", 3.0}, {"1e2x", 100.0},
                                                   {"1,5", 1.0},     {"x", 0.0},  {"0x10", 16.0}};
    for (const auto& [text, value] : read) {
        EXPECT_EQ(decodeDouble(text), value) << text;
    }
    const std::pair<double, const char*> written[] = {{-6.5, "-6.5"},
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
    };
    constexpr Column<Target> columns[] = {integer<&Target::a>, asReceived<&Target::b>, skipped,
                                          floating<&Target::c>};
    const auto decode = [&columns](TEVlist& list) {
        Target target;
        decodeRecord(list, columns, target);
        return std::to_string(target.a) + " " + target.b + " " +
               std::to_string(static_cast<int>(target.c));
    };
    const std::pair<const char*, const char*> cases[] = {
        {"", "-1 default -1"},           {"5|text|s|2|extra|more", "5 text 2"},
        {"5|text|s", "5 text -1"},       {"5x|(null)|-|x", "5 default 0"},
        {"|(null) ||", "-1 (null)  -1"}, {"-|(NULL)", "-1 (NULL) -1"},
    };
    for (const auto& [fields, expected] : cases) {
        EXPECT_EQ(decode(*pa::RecordList(fieldsOf(fields)).list()), expected);
    }
    pa::RecordList withoutData({"5", "text"});
    withoutData.list()->listTop->dataPtr = nullptr;
    EXPECT_EQ(decode(*withoutData.list()), "-1 text -1");
}

}  // namespace
