// Imports schedules into a simulated server without end: prints the id of each as soon as the
// server has told of it. Meant to be killed. The first line is the id of this process.
#include <cstdio>
#include <unistd.h>

#include "simserver/SimServer.h"
#include "tests/simserver/SmallStation.h"

namespace {

/// Prints the ids of schedules that are told of.
struct Printer : palink::ServerEventSink {
    void deliver(palink::ServerEvent event) override {
        const auto* const record = std::get_if<palink::Record>(&event);
        if (record != nullptr && record->kind == palink::RecordKind::Schedule) {
            std::printf("%d\n", record->key);
            std::fflush(stdout);
        }
    }
};

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        return 1;
    }
    simserver::SimServer server(smallStation(), {1.0, true, {}, arguments[1]});
    Printer printer;
    std::printf("%d\n", getpid());
    server.connectClient(printer);
    while (true) {
        server.handleOperation(
            {-1, 92, 19, 1,
             R"~(0,"u~\"\"",2026,1,5,6,0,2026,1,5,6,0,127,0,1,"",0,500,"2,ip,\"Yard\",12!1,,")~"});
    }
}
