// Plays one announcement on a simulated tram and waits until it is over.
#include <future>
#include <iostream>

#include "link/ServerLink.h"
#include "link/embedded/EmbeddedTransport.h"
#include "simserver/SimServer.h"
#include "simserver/station/StationFile.h"

struct Watch : pa::PAControllerObserverAdapter {
    void onMessageUpdate(AnnouncementRequest request) override {
        std::cout << request.stateText << ' ' << request.completionMsg << std::endl;
    }
    void onMessageDelete(AnnouncementRequest) override { over.set_value(); }
    std::promise<void> over;
};

int main(int argc, char** argv) {
    simserver::SimServer server(simserver::loadStation(argc > 1 ? argv[1] : "scenarios/tram.json"));
    palink::EmbeddedTransport transport(server);
    auto& audioServer = *new AudioServer(gPaController);  // lives as long as the process
    palink::ServerLink link(audioServer, transport);
    auto& watch = *new Watch;  // and so does an observer
    gPaController.registerObserver(&watch);
    link.start();
    if (!link.waitUntilReady(std::chrono::seconds(5))) {
        return 2;
    }
    Message message;
    message.setAudioMessage("Next stop: Harbour Square", "en", "Nora", Message::UTF_8);
    gPaController.playMessage({"Car 1", "Car 2"}, message);
    const auto heard = watch.over.get_future().wait_for(std::chrono::minutes(1));
    return heard == std::future_status::ready ? 0 : 1;
}
