// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "api.h"

/// One event for the application: what happened to which resource. The consumer asks the controller
/// for the record itself.
struct EventItem {
    /// Numbers of the host's event queue that the controller posts.
    enum EVENT_TYPE : int {
        PA_SOURCE_UPDATED = 6,
        PA_SOURCE_DELETED = 7,
        PA_SINK_UPDATED = 8,
        PA_SINK_DELETED = 9,
        PA_TRIGGER_UPDATED = 10,
        PA_TRIGGER_DELETED = 11,
        PA_SELECTOR_UPDATED = 12,
        PA_SELECTOR_DELETED = 13,
        SCHEDULE_UPDATED = 38,
        SCHEDULE_DELETED = 39,
        PA_ZONE_UPDATED = 40,
        PA_ZONE_DELETED = 41,
    };

    EVENT_TYPE type = PA_SOURCE_UPDATED;  ///< what has happened
    int key = 0;                          ///< the resource's id; for zones the cache key
};

/// Posts an event. Called by the controller with its mutex held; never blocks.
/// @param data the cached record; the queue keeps type and key only and does not read it
PA_API void addNewEventItem(EventItem::EVENT_TYPE type, int key, void* data);

/// The consumer's end of the event queue. Every function may be called from any thread.
namespace pa::eventQueue {

/// The most events that wait; further ones are dropped and counted.
constexpr std::size_t capacity = 4096;

/// Takes the oldest event.
/// @return false when none waits; `item` is then untouched
[[nodiscard]] PA_API bool next(EventItem& item);

/// A file descriptor that is readable while events wait, for the application's own main loop (poll,
/// epoll). It belongs to the queue: do not read or close it. -1 when the system had none left. In
/// the child of a fork() the same number is a descriptor of the child's own: it stays valid for
/// poll; an epoll set must be created again.
[[nodiscard]] PA_API int fileDescriptor();

/// How many events were dropped since the start. After a change, read the caches again.
[[nodiscard]] PA_API std::uint64_t dropped();

}  // namespace pa::eventQueue
