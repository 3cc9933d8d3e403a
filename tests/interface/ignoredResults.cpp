// Each statement but the last throws away what must be looked at: the compiler warns of each.
#include "link/ServerLink.h"
#include "sdk/PAController.h"

void ignoreResults(palink::ServerLink& link, Message message, const ScheduleDefinition& schedule) {
    link.waitUntilReady(std::chrono::seconds(5));
    gPaController.getPaZones();
    gPaController.attachPaSource(12);
    gPaController.createSwPaTrigger(12, 50);
    gPaController.createScheduleSync(schedule);
    message.getRequestID();
    gPaController.playMessage({"Hall"}, message);
}
