// A process that ends in the middle of a storm, with its link up: the sanitizers must find nothing,
// and the exit code is that of main.
#include "sdk/globals.h"
#include "tests/link/linkStorm.h"

int main() {
    // The threads run until the process has ended, and what they use lives as long.
    auto& audioServer = *new AudioServer(gPaController);
    storm::beginWithObservers();
    auto& server = *new storm::BusyServer(storm::makeStream(20'000, audioServer.getUUID()));
    // These are destroyed at exit, as those of an application: the link stops then.
    static palink::EmbeddedTransport transport(server);
    static palink::ServerLink link(audioServer, transport);
    link.start();
    auto& threads = *new storm::Threads(server, 16);
    while (threads.rounds < 200) {
        std::this_thread::yield();
    }
    return 0;
}
