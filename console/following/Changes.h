#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <variant>

#include "client/ChangeStream.h"
#include "client/records.h"
#include "sdk/PAControllerObserver.h"

namespace console {

/// A resource that the server has withdrawn, by its number or its name.
struct GoneNumber {
    int id;
};
struct GoneName {
    std::string id;
};

/// An audio retrieval has ended.
struct Retrieval {
    std::string requestId;
    bool success;
    PAControllerObserver::MessageRetrievalError error;
    std::string uri;
};

/// One change as the console prints it.
struct Change {
    enum class Kind { Update, Delete, Refusal, Retrieval, Level };

    Kind kind;
    const char* event;  ///< stable name, for example "zoneUpdate"
    std::variant<PaSource, PaSink, PaZone, AnnouncementRequest, PaTrigger, PaSelector,
                 ScheduleDefinition, paclient::SourceLock, GoneNumber, GoneName, Retrieval,
                 palink::Refusal, palink::LevelReading>
        what;
};

/// The change as the console prints it; nothing for one of which it prints nothing.
std::optional<Change> printable(const paclient::Change& change);

/// What has changed since this object was made, in order.
class Changes {
public:
    /// Takes the oldest change; waits at most `limit` for one.
    std::optional<Change> next(std::chrono::milliseconds limit);

    /// How many wait now.
    std::size_t waiting() const { return subscription_.waiting(); }

    /// Whether a loss of the connection is among what `next` has read since the last call.
    bool takeDisconnection();

private:
    paclient::Subscription subscription_;
    bool disconnected_ = false;
};

}  // namespace console

namespace paclient {

template <>
struct Members<console::GoneNumber> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
    }
};

template <>
struct Members<console::GoneName> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("id", record.id);
    }
};

template <>
struct Members<console::Retrieval> {
    template <class Record, class Visit>
    static void visit(Record& record, Visit& visit) {
        visit("requestId", record.requestId);
        visit("success", record.success);
        visit("error", record.error);
        visit("uri", record.uri);
    }
};

}  // namespace paclient
