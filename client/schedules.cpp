// SPDX-License-Identifier: Apache-2.0
#include "client/schedules.h"

#include <atomic>
#include <memory>
#include <set>
#include <stdexcept>

#include "client/ChangeStream.h"
#include "client/confirmed.h"
#include "framework/posixThread.h"
#include "sdk/PAController.h"

namespace paclient {

namespace {

using State = Confirmation::State;

/// The notification of a schedule comes 100 ms after the cache has it.
constexpr std::chrono::milliseconds cacheTick{1};

bool isKept(const ScheduleDefinition& schedule) {
    const auto kept = gPaController.findSchedule(schedule.Id);
    return kept && isSame(*kept, schedule);
}

std::string titleOf(int id) {
    return "schedule " + std::to_string(id);
}

/// Looks at the cache often, and calls `whileWaiting` as seldom as the caller asks.
Wait withCacheTick(const Wait& wait) {
    Wait result = wait;
    result.tick = std::min(wait.tick, cacheTick);
    if (wait.whileWaiting) {
        result.whileWaiting = [call = wait.whileWaiting, tick = wait.tick,
                               due = std::chrono::milliseconds(0)](auto waited) mutable {
            if (waited >= due) {
                due = waited + std::min(tick, noLimit - waited);
                call(waited);
            }
        };
    }
    return result;
}

/// The call of the controller that waits for the number of a new schedule.
struct Creation {
    std::atomic<bool> hasReturned{false};
    std::atomic<int> id{0};
};

}  // namespace

Confirmation putSchedule(const ScheduleDefinition& schedule, const Wait& wait) {
    checkSchedule(schedule);
    const ScheduleDefinition wanted = asReported(schedule);
    const bool wasKept = isKept(wanted);
    const bool isResent = wasKept && wanted.visualAnnouncementType != AT_NONE;
    bool isReported = false;
    ConfirmedRequest request;
    request.operations = {pa::operations::putSchedule};
    request.send = [&] { gPaController.modifySchedule(schedule); };
    request.take = [&](const Change& change) {
        const auto* const update = std::get_if<Updated<ScheduleDefinition>>(&change);
        isReported = isReported || (update != nullptr && isSame(update->record, wanted));
    };
    request.holds = [&] { return isResent ? isReported : isKept(wanted); };
    return confirm(request, withCacheTick(wait));
}

NewSchedule createSchedule(const ScheduleDefinition& schedule, const Wait& wait) {
    checkSchedule(schedule);
    const auto creation = std::make_shared<Creation>();  // the call may outlive this one
    ConfirmedRequest request;
    request.operations = {pa::operations::putSchedule};
    request.send = [&] {
        pa::PosixThread("new schedule", [schedule, creation] {
            try {
                creation->id = gPaController.createScheduleSync(schedule);
            } catch (const std::invalid_argument&) {
                creation->id = 0;  // not confirmed in time
            }
            creation->hasReturned = true;
        }).detach();
    };
    request.holds = [&] { return creation->hasReturned.load(); };
    NewSchedule result{confirm(request, wait), creation->id};
    if (result.confirmation.holds() && result.id == 0) {
        result.confirmation = {State::TimedOut};
    }
    return result;
}

Confirmation removeSchedule(int id, const Wait& wait) {
    if (id <= 0) {
        throw std::invalid_argument(titleOf(id) + " cannot exist");
    }
    ConfirmedRequest request;
    request.operations = {pa::operations::deleteSchedule};
    request.send = [id] { gPaController.deleteSchedule(id); };
    request.holds = [id] { return !gPaController.findSchedule(id); };
    return confirm(request, wait);
}

int freeScheduleId() {
    int id = 1;
    while (gPaController.findSchedule(id)) {
        ++id;
    }
    return id;
}

// --------------------------------------------------------------------------------------- import

namespace {

/// Why an entry cannot be tried, empty when it can.
std::string faultOf(const ImportEntry& entry, bool replaces, std::set<int>& ids) {
    const int id = entry.schedule.Id;
    if (!entry.fault.empty()) {
        return entry.fault;
    }
    if (id <= 0) {
        return "the id is missing, or not above 0";
    }
    if (!ids.insert(id).second) {
        return titleOf(id) + " is in the list twice";
    }
    if (!replaces && gPaController.findSchedule(id)) {
        return "there is a " + titleOf(id) + " already";
    }
    return {};
}

/// Puts in one entry.
/// @return why it fails; empty when it does not, or its outcome is unknown
std::string put(const ScheduleDefinition& schedule, const Wait& wait, Confirmation& confirmation) {
    try {
        confirmation = putSchedule(schedule, wait);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    switch (confirmation.state) {
        case State::Refused:
            return "the server refuses: " + confirmation.reason;
        case State::NotSent:
            return "not sent: " + confirmation.reason;
        default:
            return {};
    }
}

}  // namespace

void importSchedules(const std::vector<ImportEntry>& entries, bool replaces, const Wait& wait,
                     const std::function<void(const ImportResult&)>& onEntry,
                     ImportResult& result) {
    std::set<int> ids;
    for (std::size_t number = 1; number <= entries.size(); ++number) {
        const ImportEntry& entry = entries[number - 1];
        std::string fault = faultOf(entry, replaces, ids);
        Confirmation confirmation;
        if (!replaces && ChangeStream::instance().isAway()) {
            result.unknownEntry = number;  // it may be one that is there already
            confirmation = {State::ConnectionLost};
        } else if (fault.empty()) {
            result.unknownEntry = number;  // until it is known
            fault = put(entry.schedule, wait, confirmation);
        }
        if (confirmation.isUnknown()) {
            result.unknown = confirmation;
            return;
        }
        result.unknownEntry.reset();
        if (fault.empty()) {
            ++result.imported;
        } else {
            result.failed.push_back({number, fault});
        }
        if (onEntry) {
            onEntry(result);
        }
    }
}

}  // namespace paclient
