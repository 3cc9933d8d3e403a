#include "link/Router.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <memory>
#include <utility>

#include "framework/log.h"
#include "include/common/RecordList.h"

namespace palink {

namespace {

/// Where the records of one kind go.
struct Route {
    RecordKind kind;
    void (*handle)(PAController&, int dstNo, int key, TEVlist*);
    bool pauses;  // between its merge and its notification
};

template <void (PAController::*Handler)(int, TEVlist*)>
void byKey(PAController& controller, int /*dstNo*/, int key, TEVlist* list) {
    (controller.*Handler)(key, list);
}

void byServerAndKey(PAController& controller, int dstNo, int key, TEVlist* list) {
    controller.addUpdatePaZone(dstNo, key, list);
}

constexpr Route routes[] = {
    {RecordKind::Source, byKey<&PAController::addUpdatePaSource>, true},
    {RecordKind::Sink, byKey<&PAController::addUpdatePaSink>, false},
    {RecordKind::Trigger, byKey<&PAController::addUpdatePaTrigger>, false},
    {RecordKind::Selector, byKey<&PAController::addUpdatePaSelector>, false},
    {RecordKind::AttachedZones, byKey<&PAController::addUpdateAttachedPaZone>, false},
    {RecordKind::Announcement, byKey<&PAController::addUpdateAnnouncementRequest>, false},
    {RecordKind::Schedule, byKey<&PAController::updateScheduleList>, true},
    {RecordKind::Zone, byServerAndKey, false},
    {RecordKind::TtsPort, byKey<&PAController::updateFromTTS_Ports>, false},
    {RecordKind::TtsDictionary, byKey<&PAController::updateFromTTS_Dictionary>, false},
};

const Route* routeOf(int kind) {
    const auto* const found =
        std::find_if(std::begin(routes), std::end(routes),
                     [kind](const Route& route) { return static_cast<int>(route.kind) == kind; });
    return found == std::end(routes) ? nullptr : found;
}

/// Runs a handler; what is too large for the memory at hand costs that message alone.
/// @param what as in "record"
template <class Handler>
void guarded(const char* what, int kind, int key, Handler handler) {
    try {
        handler();
    } catch (const std::exception& e) {
        handleError(3, "%s of kind >%d< key >%d< dropped: %s", what, kind, key, e.what());
    }
}

}  // namespace

Router::Router(PAController& controller) : controller_(controller) {}

void Router::handle(Record record) {
    const std::lock_guard arrival(arrival_);
    const int kind = static_cast<int>(record.kind);
    const int key = record.key;
    const Route* const route = routeOf(kind);
    if (route == nullptr) {
        handleError(3, "record of unknown kind >%d< key >%d< dropped", kind, key);
        return;
    }
    guarded("record", kind, key, [&] {
        const auto list = std::make_shared<RecordList>(std::move(record.fields));
        const auto run = [this, route, kind, dstNo = record.dstNo, key, list] {
            guarded("record", kind, key,
                    [&] { route->handle(controller_, dstNo, key, list->list()); });
        };
        if (route->pauses) {
            pool_.submit(kind, key, run);
        } else {
            run();
        }
    });
}

void Router::handle(const Withdrawal& withdrawal) {
    const std::lock_guard arrival(arrival_);
    const Route* const route = routeOf(withdrawal.kind);
    const bool pauses = route != nullptr && route->pauses;
    if (pauses && withdrawal.key != 0) {
        guarded("withdrawal", withdrawal.kind, withdrawal.key, [&] {
            pool_.submit(withdrawal.kind, withdrawal.key,
                         [this, withdrawal] { withdraw(withdrawal); });
        });
        return;
    }
    if (pauses || withdrawal.kind == 0) {
        pool_.waitUntilIdle();
    }
    withdraw(withdrawal);
}

void Router::withdraw(const Withdrawal& withdrawal) {
    guarded("withdrawal", withdrawal.kind, withdrawal.key, [&] {
        switch (static_cast<RecordKind>(withdrawal.kind)) {
            case RecordKind::TtsPort:
                controller_.deleteFromTTS_Ports(withdrawal.key);
                break;
            case RecordKind::TtsDictionary:
                controller_.deleteFromTTS_Dictionary(withdrawal.key);
                break;
            default:
                controller_.deleteAudioVideoControllerInfo(withdrawal.dstNo, withdrawal.kind,
                                                           withdrawal.key);
        }
    });
}

void Router::reset() {
    const std::lock_guard arrival(arrival_);
    pool_.waitUntilIdle();
    guarded("reset", 0, 0, [this] { controller_.initPaResources(); });
}

void Router::waitUntilIdle() {
    const std::lock_guard arrival(arrival_);
    pool_.waitUntilIdle();
}

}  // namespace palink
