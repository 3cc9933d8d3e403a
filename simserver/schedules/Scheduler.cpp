#include "simserver/schedules/Scheduler.h"

#include <limits>
#include <stdexcept>

#include "simserver/protocol/Refused.h"
#include "simserver/protocol/ScheduleDecoder.h"

namespace simserver {

Scheduler::Scheduler(const std::filesystem::path& state, const std::string& timeZone,
                     std::time_t opened)
    : calendar_(timeZone), store_(state) {
    for (const auto& [id, definition] : store_.all()) {
        Entry& entry = entries_[id];
        try {
            decodeSchedule(definition, entry.schedule);
        } catch (const Refused& refused) {
            throw std::runtime_error("cannot read schedule " + std::to_string(id) + " of \"" +
                                     (state / ScheduleStore::fileName).string() +
                                     "\": " + refused.what());
        }
        entry.schedule.id = id;
        plan(entry, opened - 1);  // one that runs as the server starts is not missed
    }
}

const Schedule& Scheduler::put(const Schedule& schedule, const std::string& definition,
                               std::time_t now) {
    store_.put(schedule.id, definition);
    Entry& entry = entries_[schedule.id];
    unplan(entry);
    entry.schedule = schedule;
    plan(entry, now);
    return entry.schedule;
}

void Scheduler::remove(int id) {
    const auto found = entries_.find(id);
    if (found == entries_.end()) {
        throw Refused("there is no schedule " + std::to_string(id));
    }
    store_.remove(id);
    unplan(found->second);
    entries_.erase(found);
}

int Scheduler::freeId() const {
    const int last = entries_.empty() ? 0 : entries_.rbegin()->first;
    if (last < std::numeric_limits<int>::max()) {
        return last + 1;
    }
    int id = 1;
    while (entries_.count(id) > 0) {
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

/// Finds out when it runs behind a moment.
void Scheduler::plan(Entry& entry, std::time_t behind) {
    entry.next = calendar_.nextRun(entry.schedule.times, behind);
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
