// SPDX-License-Identifier: Apache-2.0
#include "client/Change.h"

#include <iterator>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

#include "client/records.h"

namespace paclient {

namespace {

// What a value takes beside itself.

std::size_t heapBytes(const std::string& text) {
    static const std::size_t inside = std::string().capacity();
    return text.capacity() > inside ? text.capacity() : 0;
}

template <class Item>
std::size_t heapBytes(const std::vector<Item>& items);
template <class Key, class Value>
std::size_t heapBytes(const std::map<Key, Value>& entries);

/// Of a record, or of a value that owns no memory.
template <class Value>
std::size_t heapBytes(const Value& value) {
    if constexpr (isDescribed<Value>) {
        std::size_t bytes = 0;
        forEachMember(value, [&bytes](const MemberInfo& /*info*/, const auto& member) {
            bytes += heapBytes(member);
        });
        return bytes;
    } else {
        static_assert(std::is_trivially_copyable_v<Value>, "its memory is not counted");
        return 0;
    }
}

template <class Item>
std::size_t heapBytes(const std::vector<Item>& items) {
    std::size_t bytes = items.capacity() * sizeof(Item);
    for (const Item& item : items) {
        bytes += heapBytes(item);
    }
    return bytes;
}
template <class Key, class Value>
std::size_t heapBytes(const std::map<Key, Value>& entries) {
    constexpr std::size_t node = 4 * sizeof(void*) + sizeof(std::pair<const Key, Value>);
    std::size_t bytes = entries.size() * node;
    for (const auto& [key, value] : entries) {
        bytes += heapBytes(key) + heapBytes(value);
    }
    return bytes;
}

template <class Record>
std::size_t heapBytes(const Updated<Record>& updated) {
    return heapBytes(updated.record);
}
std::size_t heapBytes(const Deleted<PaZone>& deleted) {
    return heapBytes(deleted.id);
}
std::size_t heapBytes(const Deleted<AnnouncementRequest>& deleted) {
    return heapBytes(deleted.record);
}
std::size_t heapBytes(const Deleted<ScheduleDefinition>& deleted) {
    return heapBytes(deleted.record);
}
std::size_t heapBytes(const LockChange& change) {
    return heapBytes(change.lockedUUID) + heapBytes(change.before);
}
std::size_t heapBytes(const Retrieval& retrieval) {
    return heapBytes(retrieval.requestId) + heapBytes(retrieval.uri);
}
std::size_t heapBytes(const palink::ConnectionChange& change) {
    return heapBytes(change.reason);
}
std::size_t heapBytes(const pa::DroppedOperation& dropped) {
    return heapBytes(dropped.requestId) + heapBytes(dropped.text);
}
std::size_t heapBytes(const SentOperation& sent) {
    return heapBytes(sent.operation.payload);
}

/// In the order of the alternatives.
constexpr const char* eventNames[] = {"sourceUpdate",
                                      "sinkUpdate",
                                      "zoneUpdate",
                                      "triggerUpdate",
                                      "selectorUpdate",
                                      "scheduleUpdate",
                                      "announcementUpdate",
                                      "sourceDelete",
                                      "sinkDelete",
                                      "zoneDelete",
                                      "triggerDelete",
                                      "selectorDelete",
                                      "scheduleDelete",
                                      "announcementDelete",
                                      "lockUpdate",
                                      "attachedZones",
                                      "audioRetrieval",
                                      "refusal",
                                      "level",
                                      "connection",
                                      "droppedOperation",
                                      "sentOperation",
                                      "lost"};
static_assert(std::size(eventNames) == std::variant_size_v<Change>);

}  // namespace

const char* eventName(const Change& change) {
    return eventNames[change.index()];
}

std::size_t bytesOf(const Change& change) {
    return sizeof(Change) + std::visit([](const auto& what) { return heapBytes(what); }, change);
}

}  // namespace paclient
