// What the compiler reports for an application: a warning for each result that is thrown away but
// the last, and nothing else.
#include <type_traits>

#include "link/ServerLink.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

// Plain objects: `auto* server = gAudioServerInstance`, `printf("%d", gLocalDstNo)` and
// `std::max(gMaxServerWaitTimeSeconds, 3)` are right for no class.
static_assert(std::is_same_v<decltype(gAudioServerInstance), AudioServer*>);
static_assert(std::is_same_v<decltype(gLocalDstNo), int>);
static_assert(std::is_same_v<decltype(gActiveAudioServerDstNo), int>);
static_assert(std::is_same_v<decltype(gMaxServerWaitTimeSeconds), int>);
static_assert(std::is_same_v<decltype(gIndirectCXSConnection), bool>);
static_assert(std::is_same_v<decltype(debugLevel), long>);

void ignoreResults(palink::ServerLink& link, Message message, const ScheduleDefinition& schedule) {
    link.waitUntilReady(std::chrono::seconds(5));
    gPaController.getPaZones();
    gPaController.attachPaSource(12);
    gPaController.createSwPaTrigger(12, 50);
    gPaController.createScheduleSync(schedule);
    message.getRequestID();
    gPaController.playMessage({"Hall"}, message);
}
