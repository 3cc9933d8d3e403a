// An application with names of its own, and with every public header: the names keep the
// application's meaning here, and the SDK keeps its own.
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

#include "framework/clock.h"
#include "framework/eventQueue.h"
#include "framework/fieldEncoding.h"
#include "framework/levelMeter.h"
#include "framework/localMutex.h"
#include "framework/log.h"
#include "framework/shared.h"
#include "framework/threadClass.h"
#include "framework/uuid.h"
#include "include/common/RecordList.h"
#include "include/common/tevlist.h"
#include "link/ServerLink.h"
#include "link/Transport.h"
#include "link/embedded/EmbeddedTransport.h"
#include "resource/common/paInfo.h"
#include "resource/common/priorityInfo.h"
#include "resource/common/stringUtils.h"
#include "sdk/AnnouncementRequest.h"
#include "sdk/AudioServer.h"
#include "sdk/Gain.h"
#include "sdk/KeyValueMap.h"
#include "sdk/Message.h"
#include "sdk/PAController.h"
#include "sdk/PAControllerObserver.h"
#include "sdk/QXReceiver.h"
#include "sdk/ScheduleDefinition.h"
#include "sdk/TTSDictionary.h"
#include "sdk/globals.h"

/// Signatures as those of the SDK's class of the same name: were that global, the linker would take
/// one definition of each for both.
class Payload {
public:
    Payload& number(long long) { return add(); }
    Payload& level(double) { return add(); }
    Payload& flag(bool) { return add(); }
    Payload& separator(char) { return add(); }
    Payload& plain(std::string_view) { return add(); }
    Payload& prepared(std::string) { return add(); }
    Payload& preparedList(const std::vector<std::string>&, char) { return add(); }
    const std::string& text() const { return text_; }

private:
    Payload& add() {
        text_ += "mine";
        return *this;
    }
    std::string text_;
};

struct Column {
    int width = 80;
};
struct Field {
    int row = 0;
};
enum class Merge { Ours, Theirs };
struct SendQueue {
    bool push(int) { return false; }
};
struct PosixThread {
    PosixThread(const char*, int) {}
};
struct Operation {
    int left = 1;
};
struct OperationSender {
    virtual ~OperationSender() = default;
    virtual bool sendOperation(const Operation&) { return false; }
};
struct LogLine {
    long number = 0;
};
struct LogSink {};
struct TimeSource {};
struct MutexGuard {};
struct LeafLock {};
struct RecordList {};
struct RecordFields {};
struct PAControllerObserverAdapter {};
const int skipped = 3;
const int paClass = 1;
bool require(bool condition, const char*) {
    return condition;
}
int integer(int value) {
    return value;
}
int decodeInt(const char*) {
    return -1;
}
void appendInt(std::string& out, long long) {
    out += "mine";
}
bool hasRecord(const TEVlist*, const char*, int) {
    return false;
}
char asciiLower(char) {
    return '?';
}
std::vector<int> valuesOf(const std::vector<int>& values) {
    return values;
}
void queueOperation(int, int, int, const Payload&) {}
std::time_t wallClock() {
    return 0;
}
std::int64_t monotonicMS() {
    return 0;
}
namespace destination {
const int activeServer = 5;
}
namespace eventQueue {
const int capacity = 2;
}

namespace {

/// A server that records the operations it receives.
class FakeServer : public palink::EmbeddedServer {
public:
    void connectClient(palink::ServerEventSink& client) override {
        client.deliver(palink::Connected{1, 1, false, {}});
        client.deliver(palink::Record{
            1, pa::RecordKind::Sink, 17, {"17", "\"Hall\"", "\"North\"", "10.0.0.5", "1"}});
        client.deliver(palink::InitialSetComplete{});
    }
    void disconnectClient() override {}
    void handleOperation(const pa::Operation& operation) override {
        const std::lock_guard guard(lock_);
        received_ += textOf(operation.type) + ' ' + operation.payload + '\n';
        ++count_;
        changed_.notify_all();
    }
    void meterLevel(bool, int) override {}
    palink::UploadResult storeFile(const std::string&, const std::string&) override { return {}; }

    std::string received(int operations) {
        std::unique_lock guard(lock_);
        EXPECT_TRUE(changed_.wait_for(guard, std::chrono::seconds(30),
                                      [&] { return count_ >= operations; }));
        return received_;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::string received_;
    int count_ = 0;
};

TEST(OwnNames, LeaveWhatIsSentAsItIs) {
    FakeServer server;
    palink::EmbeddedTransport transport(server);
    static AudioServer& audioServer = *new AudioServer(gPaController);
    palink::ServerLink link(audioServer, transport);
    link.start();
    ASSERT_TRUE(link.waitUntilReady(std::chrono::seconds(30)));

    const std::vector<PaSink> sinks = gPaController.getPaSinks();
    ASSERT_EQ(sinks.size(), 1U);
    EXPECT_EQ(sinks[0].location, "Hall");
    sinks[0].setGain(-12.5, true, false);
    PaSource source;
    source.id = 12;
    source.attachPaZone(std::vector<std::string>{"X", "Y"}, PaSource::ADD_TO_EXISTING_SET);
    gPaController.cancelMessage("request");
    EXPECT_EQ(server.received(3), "92/8 17,-12.5,1,0\n92/3 12,\"X\"^\"Y\"\n92/18 \"request\"\n");
    link.stop();
    gPaController.initPaResources();
    pa::store(gAudioServerInstance, nullptr);

    // The application's own, each used so that its definition is in the program.
    Payload own;
    own.number(1).level(1).flag(true).separator(',').plain("a").prepared("b").preparedList({}, '^');
    EXPECT_EQ(own.text().size(), 7 * 4U);
    std::string text;
    appendInt(text, 5);
    EXPECT_EQ(text, "mine");
    EXPECT_EQ(Column().width + Field().row + Operation().left, 81);
    EXPECT_NE(Merge::Ours, Merge::Theirs);
    EXPECT_FALSE(SendQueue().push(1) || OperationSender().sendOperation({}) || LogLine().number);
    PosixThread("thread", 1);
    EXPECT_EQ(integer(paClass) + skipped + destination::activeServer + eventQueue::capacity, 11);
    EXPECT_EQ(decodeInt("5"), -1);
    EXPECT_EQ(asciiLower('A'), '?');
    EXPECT_TRUE(require(true, "") && !hasRecord(nullptr, "", 0) && valuesOf({}).empty());
    EXPECT_EQ(wallClock() + monotonicMS(), 0);
    queueOperation(1, 2, 3, own);
}

}  // namespace
