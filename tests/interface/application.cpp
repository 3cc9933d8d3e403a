// SPDX-License-Identifier: Apache-2.0
// What the compiler reports for an application: a warning for each result that is thrown away but
// the last, and nothing else. It has headers of its own with names of the SDK's, first on its path.
#include <public-address/link/ServerLink.h>
#include <public-address/sdk/PAController.h>
#include <public-address/sdk/globals.h>
#include <public-address/version.h>
#include <type_traits>

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
