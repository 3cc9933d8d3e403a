#include "link/Router.h"

#include <algorithm>
#include <exception>
#include <iterator>

#include "framework/log.h"
#include "include/common/RecordList.h"

namespace palink {

namespace {

/// Where the records of one kind go.
struct Route {
    RecordKind kind;
    void (*handle)(PAController&, const Record&, TEVlist*);
    bool pauses;  // between its merge and its notification
};

template <void (PAController::*Handler)(int, TEVlist*)>
void byKey(PAController& controller, const Record& record, TEVlist* list) {
    (controller.*Handler)(record.key, list);
}

void byServerAndKey(PAController& controller, const Record& record, TEVlist* list) {
    controller.addUpdatePaZone(record.dstNo, record.key, list);
}

constexpr Route routes[] = {
    {RecordKind::Source, byKey<&PAController::addUpdatePaSource>, true},
    {RecordKind::Sink, byKey<&PAController::addUpdatePaSink>, false},
    {RecordKind::AttachedZones, byKey<&PAController::addUpdateAttachedPaZone>, false},
    {RecordKind::Announcement, byKey<&PAController::addUpdateAnnouncementRequest>, false},
    {RecordKind::Zone, byServerAndKey, false},
    {RecordKind::TtsPort, byKey<&PAController::updateFromTTS_Ports>, false},
};

const Route* routeOf(int kind) {
    const auto* const found =
        std::find_if(std::begin(routes), std::end(routes),
                     [kind](const Route& route) { return static_cast<int>(route.kind) == kind; });
    return found == std::end(routes) ? nullptr : found;
}

/// Runs a handler; a record too large for the memory at hand costs that record alone.
template <class Handler>
void guarded(int kind, int key, Handler handler) {
    try {
        handler();
    } catch (const std::exception& e) {
        handleError(3, "record of kind >%d< key >%d< dropped: %s", kind, key, e.what());
    }
}

}  // namespace

Router::Router(PAController& controller) : controller_(controller) {}

void Router::handle(const Record& record) {
    const std::lock_guard arrival(arrival_);
    const int kind = static_cast<int>(record.kind);
    const Route* const route = routeOf(kind);
    if (route == nullptr) {
        handleError(3, "record of unknown kind >%d< key >%d< dropped", kind, record.key);
        return;
    }
    const auto run = [this, route](const Record& arrived) {
        guarded(static_cast<int>(route->kind), arrived.key, [&] {
            RecordList list(arrived.fields);
            route->handle(controller_, arrived, list.list());
        });
    };
    if (route->pauses) {
        pool_.submit(kind, record.key, [run, record] { run(record); });
    } else {
        run(record);
    }
}

void Router::handle(const Withdrawal& withdrawal) {
    const std::lock_guard arrival(arrival_);
    const Route* const route = routeOf(withdrawal.kind);
    const bool pauses = route != nullptr && route->pauses;
    if (pauses && withdrawal.key != 0) {
        pool_.submit(withdrawal.kind, withdrawal.key, [this, withdrawal] { withdraw(withdrawal); });
        return;
    }
    if (pauses || withdrawal.kind == 0) {
        pool_.waitUntilIdle();
    }
    withdraw(withdrawal);
}

void Router::withdraw(const Withdrawal& withdrawal) {
    guarded(withdrawal.kind, withdrawal.key, [&] {
        if (withdrawal.kind == static_cast<int>(RecordKind::TtsPort)) {
            controller_.deleteFromTTS_Ports(withdrawal.key);
        } else {
            controller_.deleteAudioVideoControllerInfo(withdrawal.dstNo, withdrawal.kind,
                                                       withdrawal.key);
        }
    });
}

void Router::reset() {
    const std::lock_guard arrival(arrival_);
    pool_.waitUntilIdle();
    controller_.initPaResources();
}

void Router::waitUntilIdle() {
    const std::lock_guard arrival(arrival_);
    pool_.waitUntilIdle();
}

}  // namespace palink
