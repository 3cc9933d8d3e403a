// SPDX-License-Identifier: Apache-2.0
#include "link/Router.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <iterator>
#include <memory>
#include <utility>

#include "framework/clock.h"
#include "framework/log.h"

namespace palink {

/// The halves of a handler that pauses; null for the others.
struct Halves {
    PAController::MergeResult (PAController::*merge)(int key, TEVlist*) = nullptr;
    void (PAController::*notify)(int key, PAController::MergeResult) = nullptr;
};

using pa::RecordKind;

struct Route {
    RecordKind kind;
    void (*handle)(PAController&, int dstNo, int key, TEVlist*);  // null for kinds that pause
    Halves halves{};
    void (PAController::*withdraw)(int key) = nullptr;  // null for a withdrawal by number

    bool pauses() const { return halves.merge != nullptr; }
};

namespace {

using MergeResult = PAController::MergeResult;
using Step = Notifier::Step;

template <void (PAController::*Handler)(int, TEVlist*)>
void byKey(PAController& controller, int /*dstNo*/, int key, TEVlist* list) {
    (controller.*Handler)(key, list);
}

void byServerAndKey(PAController& controller, int dstNo, int key, TEVlist* list) {
    controller.addUpdatePaZone(dstNo, key, list);
}

constexpr Route routes[] = {
    {RecordKind::Source, nullptr, {&PAController::mergePaSource, &PAController::notifyPaSource}},
    {RecordKind::Sink, byKey<&PAController::addUpdatePaSink>},
    {RecordKind::Trigger, byKey<&PAController::addUpdatePaTrigger>},
    {RecordKind::Selector, byKey<&PAController::addUpdatePaSelector>},
    {RecordKind::AttachedZones, byKey<&PAController::addUpdateAttachedPaZone>},
    {RecordKind::Announcement, byKey<&PAController::addUpdateAnnouncementRequest>},
    {RecordKind::Zone, byServerAndKey},
    {RecordKind::Schedule, nullptr, {&PAController::mergeSchedule, &PAController::notifySchedule}},
    {RecordKind::TtsPort,
     byKey<&PAController::updateFromTTS_Ports>,
     {},
     &PAController::deleteFromTTS_Ports},
    {RecordKind::TtsDictionary,
     byKey<&PAController::updateFromTTS_Dictionary>,
     {},
     &PAController::deleteFromTTS_Dictionary},
};

/// Whether route i is of kind i of the table of kinds and withdraws as the table says.
constexpr bool followTheKinds() {
    for (std::size_t i = 0; i < std::size(pa::recordKinds); ++i) {
        const pa::RecordKindRow& row = pa::recordKinds[i];
        const bool hasOwn = row.withdrawal == pa::KindWithdrawal::ByOwnFunction;
        if (routes[i].kind != row.kind || (routes[i].withdraw != nullptr) != hasOwn) {
            return false;
        }
    }
    return true;
}
static_assert(std::size(routes) == std::size(pa::recordKinds) && followTheKinds());

const Route* routeOf(RecordKind kind) {
    const auto* const found =
        std::find_if(std::begin(routes), std::end(routes),
                     [kind](const Route& route) { return route.kind == kind; });
    return found == std::end(routes) ? nullptr : found;
}

/// Runs a handler; an exception, for example std::bad_alloc, drops only that message.
/// @param what as in "record"
template <class Handler>
void guarded(const char* what, RecordKind kind, int key, Handler handler) {
    try {
        handler();
    } catch (const std::exception& e) {
        handleError(3, "%s of %s, key >%d< dropped: %s", what, nameOf(kind), key, e.what());
    }
}

/// A record that waits, and then the result of its merge.
struct HeldRecord {
    pa::RecordFields fields;
    MergeResult result = MergeResult::Dropped;
};

/// The first half of a record's handler.
MergeResult merge(PAController& controller, const Route& route, int key, pa::RecordList& list,
                  HandlerSlot<HandledRecord>& merged) {
    const MergeResult result = (controller.*route.halves.merge)(key, list.list());
    if (result != MergeResult::Dropped) {
        merged.call({route.kind, key});
    }
    return result;
}

/// The second half of a record's handler.
void notify(PAController& controller, const Step& step, MergeResult result) {
    if (result != MergeResult::Dropped) {
        const Route& route = *routeOf(static_cast<RecordKind>(step.kind));
        guarded("notification", route.kind, step.key,
                [&] { (controller.*route.halves.notify)(step.key, result); });
    }
}

void withdraw(PAController& controller, const Withdrawal& withdrawal) {
    guarded("withdrawal", withdrawal.kind, withdrawal.key, [&] {
        const Route* const route = routeOf(withdrawal.kind);
        if (route != nullptr && route->withdraw != nullptr) {
            (controller.*route->withdraw)(withdrawal.key);
        } else {
            controller.deleteAudioVideoControllerInfo(
                withdrawal.dstNo, static_cast<int>(withdrawal.kind), withdrawal.key);
        }
    });
}

}  // namespace

Router::Router(PAController& controller)
    : controller_(controller), merged_(std::make_shared<HandlerSlot<HandledRecord>>()) {}

bool Router::handle(Record record, std::int64_t arrivedUS) {
    const std::lock_guard arrival(arrival_);
    const Route* const route = routeOf(record.kind);
    if (route == nullptr) {
        handleError(3, "record of unknown kind >%d< key >%d< dropped",
                    static_cast<int>(record.kind), record.key);
        return false;
    }
    bool isHandled = false;
    guarded("record", record.kind, record.key, [&] {
        if (route->pauses()) {
            handleWithPause(*route, record.key, std::move(record.fields), arrivedUS);
        } else {
            list_.assign(std::move(record.fields));
            route->handle(controller_, record.dstNo, record.key, list_.list());
            merged_->call({record.kind, record.key});
            isHandled = true;
        }
    });
    return isHandled;
}

// The steps outlive the router when an observer is slow; the controller outlives them, and what
// else they use they share.
void Router::handleWithPause(const Route& route, int key, pa::RecordFields fields,
                             std::int64_t arrivedUS) {
    notifier_.waitForSpace();
    const int kind = static_cast<int>(route.kind);
    const std::int64_t due = pa::monotonicMS() + PAController::notificationPauseMS;
    PAController& controller = controller_;
    if (!notifier_.isHeld(kind, key)) {
        list_.assign(std::move(fields));
        const MergeResult result = merge(controller, route, key, list_, *merged_);
        if (result != MergeResult::Dropped) {
            notifier_.add(
                {kind, key, due, false,
                 [&controller, result](const Step& step) { notify(controller, step, result); }, 0,
                 arrivedUS});
        }
        return;
    }
    // After the withdrawal of its key.
    const std::size_t bytes = sizeof(HeldRecord) + fields.heapBytes();
    const auto held = std::make_shared<HeldRecord>(HeldRecord{std::move(fields)});
    notifier_.add({kind, key, 0, true,
                   [&controller, &route, held, merged = merged_](const Step& step) {
                       guarded("record", route.kind, step.key, [&] {
                           pa::RecordList list(std::move(held->fields));
                           held->result = merge(controller, route, step.key, list, *merged);
                       });
                   },
                   bytes});
    notifier_.add(
        {kind, key, due, false,
         [&controller, held](const Step& step) { notify(controller, step, held->result); }, 0,
         arrivedUS});
}

void Router::handle(const Withdrawal& withdrawal) {
    const std::lock_guard arrival(arrival_);
    const Route* const route = routeOf(withdrawal.kind);
    const int kind = static_cast<int>(withdrawal.kind);
    const bool pauses = route != nullptr && route->pauses();
    if (pauses && withdrawal.key != 0 && notifier_.concerns(kind, withdrawal.key)) {
        guarded("withdrawal", withdrawal.kind, withdrawal.key, [&] {
            notifier_.waitForSpace();
            notifier_.add({kind, withdrawal.key, 0, true,
                           [&controller = controller_, withdrawal](const Step& /*step*/) {
                               withdraw(controller, withdrawal);
                           }});
        });
        return;
    }
    const bool ofAll = withdrawal.kind == RecordKind::Any || (pauses && withdrawal.key == 0);
    if (!ofAll || notifier_.waitUntilIdle()) {
        withdraw(controller_, withdrawal);
    }
}

void Router::reset() {
    const std::lock_guard arrival(arrival_);
    if (notifier_.waitUntilIdle()) {
        guarded("reset", RecordKind::Any, 0, [this] { controller_.initPaResources(); });
    }
}

void Router::waitUntilIdle() {
    const std::lock_guard arrival(arrival_);
    notifier_.waitUntilIdle();
}

void Router::releaseWaiters() {
    notifier_.releaseWaiters();
}

void Router::end(std::chrono::milliseconds limit) {
    if (const std::size_t dropped = notifier_.end(limit); dropped > 0) {
        handleError(2, "the link has stopped: %zu notifications and withdrawals are dropped",
                    dropped);
    }
}

void Router::begin() {
    notifier_.begin();
}

}  // namespace palink
