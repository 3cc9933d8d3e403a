// SPDX-License-Identifier: Apache-2.0
#include "simserver/schedules/Scheduler.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "simserver/protocol/Refused.h"
#include "simserver/protocol/ScheduleDecoder.h"

namespace simserver {

Scheduler::Scheduler(StateStore& state, const std::string& timeZone, std::time_t opened)
    : calendar_(timeZone), state_(state) {
    for (const auto& [id, definition] : state.all(Kept::Schedule)) {
        Schedule schedule;
        if (!state.restore(Kept::Schedule, id,
                           [&, &text = definition] { decodeSchedule(text, schedule); })) {
            unreadable_.insert(id);
            continue;
        }
        schedule.id = id;
        Entry& entry = entries_[id];
        entry.schedule = std::move(schedule);
        plan(entry, opened - 1);  // one that runs as the server starts is not missed
    }
}

const Schedule& Scheduler::put(const Schedule& schedule, const std::string& definition,
                               std::time_t now) {
    state_.put(Kept::Schedule, schedule.id, definition);
    unreadable_.erase(schedule.id);
    Entry& entry = entries_[schedule.id];
    unplan(entry);
    entry.schedule = schedule;
    plan(entry, now);
    return entry.schedule;
}

void Scheduler::remove(int id) {
    const auto found = entries_.find(id);
    if (found == entries_.end() && unreadable_.count(id) == 0) {
        throw Refused("there is no schedule " + std::to_string(id));
    }
    state_.remove(Kept::Schedule, id);
    unreadable_.erase(id);
    if (found != entries_.end()) {
        unplan(found->second);
        entries_.erase(found);
    }
}

int Scheduler::freeId() const {
    const int last = std::max(entries_.empty() ? 0 : entries_.rbegin()->first,
                              unreadable_.empty() ? 0 : *unreadable_.rbegin());
    if (last < std::numeric_limits<int>::max()) {
        return last + 1;
    }
    int id = 1;
    while (entries_.count(id) + unreadable_.count(id) > 0) {
        ++id;
    }
    return id;
}

std::vector<const Schedule*> Scheduler::all() const {
    std::vector<const Schedule*> schedules;
    for (const auto& entry : entries_) {
        schedules.push_back(&entry.second.schedule);
    }
    return schedules;
}

std::optional<std::time_t> Scheduler::nextRun() const {
    return planned_.empty() ? std::nullopt : std::optional(planned_.begin()->first);
}

std::vector<const Schedule*> Scheduler::takeDue(std::time_t now) {
    std::vector<const Schedule*> due;
    while (!planned_.empty() && planned_.begin()->first <= now) {
        const auto [run, id] = *planned_.begin();
        Entry& entry = entries_.at(id);
        due.push_back(&entry.schedule);
        unplan(entry);
        plan(entry, run);
    }
    return due;
}

/// Plans the next run after a moment.
void Scheduler::plan(Entry& entry, std::time_t after) {
    entry.next = calendar_.nextRun(entry.schedule.times, after);
    if (entry.next) {
        planned_.emplace(*entry.next, entry.schedule.id);
    }
}

void Scheduler::unplan(const Entry& entry) {
    if (entry.next) {
        planned_.erase({*entry.next, entry.schedule.id});
    }
}

}  // namespace simserver
