// Everything at once, for the sanitizers: records, withdrawals, queries, registrations, operations.
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/log.h"
#include "framework/posixThread.h"
#include "link/Router.h"
#include "sdk/AudioServer.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

namespace {

using palink::Record;
using palink::RecordKind;

/// Calls back into the controller, as applications do, and throws now and then.
struct Nosy : PAControllerObserverAdapter {
    void onPaSourceUpdate(PaSource source) override {
        if (!active) {
            return;
        }
        seen += static_cast<int>(gPaController.getPaSinks().size()) + 1;
        gPaController.registerObserver(this);
        Message message;
        message.setAudioMessage(std::vector<unsigned>{12});
        gPaController.playMessage({"Z1"}, message);
        if (source.id % 7 == 0) {
            throw std::runtime_error("not today");
        }
    }
    void onMessageUpdate(AnnouncementRequest request) override {
        if (active) {
            gPaController.cancelMessage(request.getRequestID());
        }
    }
    std::atomic<bool> active{true};
    std::atomic<int> seen{0};
};

/// Takes every operation, until the last one.
class Sender : public OperationSender {
public:
    Sender() { gQXReceiver.connect(*this); }
    ~Sender() override { gQXReceiver.disconnect(); }
    bool sendOperation(const Operation& operation) override {
        if (operation.payload == "\"\",9") {
            last_.set_value();
        }
        return true;
    }
    void waitForLast() {
        gPaController.cancelMessage(Message::DISPLAY_TEMPLATE);
        last_.get_future().wait();
    }

private:
    std::promise<void> last_;
};

TEST(ConcurrencyTest, ThreadsOfEveryKindMeetInTheController) {
    constexpr int rounds = 200;
    skipPauses();
    auto& observer = *new Nosy;  // must outlive the controller
    static auto& observers = *new std::vector<PAControllerObserverAdapter>(rounds + 1);
    static auto& audioServer = *new AudioServer(gPaController);
    setLogSink([](const LogLine&) {});
    gAudioServerInstance = &audioServer;
    gLocalDstNo = 1;
    gActiveAudioServerDstNo = 1;
    gPaController.registerObserver(&observer);
    Sender sender;
    palink::Router router(gPaController);

    std::vector<std::unique_ptr<PosixThread>> threads;
    const auto run = [&threads](auto body) {
        threads.push_back(std::make_unique<PosixThread>("test", [body] {
            for (int i = 1; i <= rounds; ++i) {
                body(i);
            }
        }));
    };
    run([&](int i) {
        const std::string id = std::to_string(i);
        router.handle(Record{1, RecordKind::Source, i, {id, "", "s" + id}});
        router.handle(Record{1, RecordKind::Announcement, i, {id}});
        router.handle(Record{1, RecordKind::Zone, i, {"Z" + id}});
    });
    run([&](int i) {
        router.handle(Record{1, RecordKind::Sink, i, RecordFields(27, "Z1^Z2")});
        router.handle(Record{1, RecordKind::TtsPort, i, {"en", "v"}});
        router.handle(palink::Withdrawal{1, i % 2 == 0 ? 2 : 11, i});
    });
    run([&](int i) {
        // Past the router: withdrawn in the pause, emptied while a handler calls observers.
        RecordList record({std::to_string(i)});
        gPaController.addUpdatePaSource(1000, record.list());
        if (i % 20 == 0) {
            gPaController.initPaResources();
        }
    });
    run([&](int i) {
        gPaController.deleteAudioVideoControllerInfo(0, 2, 1000);
        if (i % 50 == 0) {
            router.reset();
        }
        gPaController.registerObserver(&observer);
        gPaController.registerObserver(&observers[static_cast<std::size_t>(i)]);
    });
    run([&](int) {
        PaZone zone;
        zone.id = "Z1";
        static_cast<void>(zone.getMembers());
        static_cast<void>(gPaController.getPaSources());
        static_cast<void>(gPaController.getPaZones());
        static_cast<void>(gPaController.getAnnouncementRequests());
        static_cast<void>(gPaController.getTTSVocalizerList());
        Message message;
        message.setAudioMessage("/nowhere", Message::L16_48K);
        message.playAnnouncement({"Z1"});
    });
    threads.clear();
    router.reset();
    observer.seen = 0;
    router.handle(Record{1, RecordKind::Source, 1, {"1"}});
    router.handle(Record{1, RecordKind::Announcement, 1, {"last"}});
    router.waitUntilIdle();
    EXPECT_EQ(observer.seen, 1) << "one change, no sinks: the caches are sound";
    EXPECT_EQ(gPaController.getAnnouncementRequests().size(), 1U);
    observer.active = false;
    sender.waitForLast();
    gAudioServerInstance = nullptr;
    setLogSink({});
    setTimeSource({});
}

}  // namespace
