// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "../framework/api.h"
#include "../link/ServerLink.h"
#include "../resource/common/paInfo.h"
#include "../sdk/AnnouncementRequest.h"
#include "../sdk/PAControllerObserver.h"
#include "../sdk/ScheduleDefinition.h"

/// @file
/// What an application can be notified of, as one variant. Plain values.

namespace paclient {

/// The server holds a resource that is new or has changed.
template <class Record>
struct Updated {
    Record record;  ///< as it is now
};

/// The server has withdrawn a resource: its number, of a zone its name, of an announcement request
/// and a schedule the whole record.
template <class Record>
struct Deleted {
    int id = 0;  ///< its number
};
/// Of a zone, which has a name in place of a number.
template <>
struct Deleted<PaZone> {
    std::string id;  ///< its name
};
/// Of an announcement.
template <>
struct Deleted<AnnouncementRequest> {
    AnnouncementRequest record;  ///< as it was last
};
/// Of a schedule.
template <>
struct Deleted<ScheduleDefinition> {
    ScheduleDefinition record;  ///< as it was last
};

/// The lock of a source has another holder. Compared with the last time that everything was known,
/// so that a lock that is lost while the connection is away is reported once the caches are synced
/// again, and a reconnection itself is none.
struct LockChange {
    int sourceId = 0;        ///< of the source
    std::string lockedUUID;  ///< the client that holds it now, empty for none
    std::string before;      ///< the client that held it, empty for none
};

/// The server has reported the zones that are attached to a source; they need not have changed.
struct AttachedZonesReport {
    int sourceId = 0;  ///< of the source
};

/// An audio retrieval or a spoken preview has finished or expired.
struct Retrieval {
    std::string requestId;  ///< of the retrieval, or the item's UUID
    bool success = false;   ///< whether there is audio
    /// Why there is none.
    PAControllerObserver::MessageRetrievalError error = PAControllerObserver::MRE_NO_ERROR;
    std::string uri;  ///< where the audio can be fetched
};

/// An operation has been handed to the transport.
struct SentOperation {
    pa::Operation operation;  ///< as it was sent
};

/// A subscriber has not read in time, and changes were dropped for want of memory. What follows is
/// complete again: read the controller's caches to know what holds now.
struct Lost {
    std::uint64_t count = 0;  ///< of the changes that were dropped
};

/// Everything that a subscriber can be notified of.
using Change =
    std::variant<Updated<PaSource>, Updated<PaSink>, Updated<PaZone>, Updated<PaTrigger>,
                 Updated<PaSelector>, Updated<ScheduleDefinition>, Updated<AnnouncementRequest>,
                 Deleted<PaSource>, Deleted<PaSink>, Deleted<PaZone>, Deleted<PaTrigger>,
                 Deleted<PaSelector>, Deleted<ScheduleDefinition>, Deleted<AnnouncementRequest>,
                 LockChange, AttachedZonesReport, Retrieval, palink::Refusal, palink::LevelReading,
                 palink::ConnectionChange, pa::DroppedOperation, SentOperation, Lost>;

/// A change that several subscribers share. Never null where one is handed to a function.
using ChangePtr = std::shared_ptr<const Change>;

/// A set of alternatives of `Change`.
using ChangeKinds = std::bitset<std::variant_size_v<Change>>;

/// Every alternative.
inline ChangeKinds allKinds() {
    return ~ChangeKinds();
}

/// These alternatives, as in `kinds<palink::Refusal, Updated<AnnouncementRequest>>()`.
template <class... Kinds>
ChangeKinds kinds() {
    ChangeKinds result;
    (result.set(Change(std::in_place_type<Kinds>).index()), ...);
    return result;
}

/// The stable name of a change in JSON and in tables, for example "zoneUpdate".
PA_API const char* eventName(const Change& change);

/// How much memory a change takes, about, in bytes.
PA_API std::size_t bytesOf(const Change& change);

}  // namespace paclient
