// Everything at once, for the sanitizers: records, withdrawals, queries, registrations, operations.
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "framework/clock.h"
#include "framework/posixThread.h"
#include "link/Router.h"
#include "sdk/AudioServer.h"
#include "sdk/globals.h"

namespace {

using palink::Record;
using palink::RecordKind;

/// Calls back into the controller, as applications do.
struct Nosy : PAControllerObserverAdapter {
    void onPaSourceUpdate(PaSource source) override {
        seen += static_cast<int>(gPaController.getPaSinks().size()) + source.id;
    }
    void onMessageUpdate(AnnouncementRequest request) override {
        seen += static_cast<int>(gPaController.getAnnouncementRequests().size());
        gPaController.cancelMessage(request.getRequestID());
    }
    std::atomic<int> seen{0};
};

TEST(ConcurrencyTest, ThreadsOfEveryKindMeetInTheController) {
    constexpr int rounds = 200;
    TimeSource source;
    source.sleepMS = [](int) {};
    setTimeSource(source);
    auto& observer = *new Nosy;  // must outlive the controller
    static auto& observers = *new std::vector<PAControllerObserverAdapter>(rounds + 1);
    AudioServer audioServer(gPaController);
    gAudioServerInstance = &audioServer;
    gLocalDstNo = 1;
    gActiveAudioServerDstNo = 1;
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
    router.waitUntilIdle();

    router.handle(Record{1, RecordKind::Announcement, 1, {"last"}});
    EXPECT_GT(observer.seen, 0);
    EXPECT_EQ(gPaController.getAnnouncementRequests().empty(), false);
    gAudioServerInstance = nullptr;
    setTimeSource({});
}

}  // namespace
