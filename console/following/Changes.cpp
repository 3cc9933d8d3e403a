#include "console/following/Changes.h"

#include <utility>

#include "sdk/AudioServer.h"
#include "sdk/globals.h"

namespace console {

namespace {

using Kind = Change::Kind;
using paclient::Deleted;
using paclient::Updated;

GoneNumber deletedWhat(int id) {
    return {id};
}
GoneName deletedWhat(const std::string& id) {
    return {id};
}

const char* holderName(const std::string& uuid) {
    if (uuid.empty()) {
        return "nobody";
    }
    const AudioServer* const audioServer = pa::load(gAudioServerInstance);
    const bool isOwn = audioServer != nullptr && audioServer->getUUID() == uuid;
    return isOwn ? "this client" : "another client";
}

/// Makes what is printed; what has no overload is not.
struct Printable {
    const char* name;

    template <class Record>
    std::optional<Change> operator()(const Updated<Record>& updated) const {
        return Change{Kind::Update, name, updated.record};
    }
    template <class Record>
    std::optional<Change> operator()(const Deleted<Record>& deleted) const {
        return Change{Kind::Delete, name, deletedWhat(deleted.id)};
    }
    std::optional<Change> operator()(const Deleted<AnnouncementRequest>& deleted) const {
        return Change{Kind::Delete, name, deleted.record};
    }
    std::optional<Change> operator()(const Deleted<ScheduleDefinition>& deleted) const {
        return Change{Kind::Delete, name, deleted.record};
    }
    std::optional<Change> operator()(const paclient::LockChange& lock) const {
        return Change{
            Kind::Update, name,
            paclient::SourceLock{{lock.sourceId, lock.lockedUUID}, holderName(lock.lockedUUID)}};
    }
    std::optional<Change> operator()(const paclient::Retrieval& result) const {
        return Change{Kind::Retrieval, name,
                      Retrieval{result.requestId, result.success, result.error, result.uri}};
    }
    std::optional<Change> operator()(const palink::Refusal& refusal) const {
        return Change{Kind::Refusal, name, refusal};
    }
    std::optional<Change> operator()(const palink::LevelReading& reading) const {
        return Change{Kind::Level, name, reading};
    }
    template <class Other>
    std::optional<Change> operator()(const Other& /*change*/) const {
        return std::nullopt;
    }
};

}  // namespace

std::optional<Change> printable(const paclient::Change& change) {
    return std::visit(Printable{paclient::eventName(change)}, change);
}

std::optional<Change> Changes::next(std::chrono::milliseconds limit) {
    while (const auto change = subscription_.next(limit)) {
        const auto* const connection = std::get_if<palink::ConnectionChange>(change.get());
        disconnected_ =
            disconnected_ || (connection != nullptr &&
                              connection->state == palink::ConnectionChange::State::Disconnected);
        if (auto result = printable(*change)) {
            return result;
        }
    }
    return std::nullopt;
}

bool Changes::takeDisconnection() {
    return std::exchange(disconnected_, false);
}

}  // namespace console
