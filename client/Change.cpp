#include "client/Change.h"

#include <iterator>
#include <vector>

namespace paclient {

namespace {

// What a value takes beside itself.

template <class Plain>
std::size_t heapBytes(const Plain& /*value*/) {
    return 0;
}
std::size_t heapBytes(const std::string& text) {
    static const std::size_t inside = std::string().capacity();
    return text.capacity() > inside ? text.capacity() : 0;
}
template <class Item>
std::size_t heapBytes(const std::vector<Item>& items) {
    std::size_t bytes = items.capacity() * sizeof(Item);
    for (const Item& item : items) {
        bytes += heapBytes(item);
    }
    return bytes;
}
std::size_t heapBytes(const palink::Refusal& refusal) {
    return heapBytes(refusal.requestId) + heapBytes(refusal.reason);
}
std::size_t heapBytes(const AnnouncementRequest& record) {
    return heapBytes(record.messageContent) + heapBytes(record.zones);
}
std::size_t heapBytes(const PaSink& record) {
    return heapBytes(record.label) + heapBytes(record.mediaLog) + heapBytes(record.paZoneList);
}
std::size_t heapBytes(const PaZone& record) {
    return heapBytes(record.id);
}
template <class Record>
std::size_t heapBytes(const Updated<Record>& updated) {
    return heapBytes(updated.record);
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
