#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <variant>

#include "console/text/records.h"

namespace console {

/// One thing that the controller, or the link, has told.
struct Change {
    enum class Kind { Update, Delete, Refusal, Retrieval, Level };

    Kind kind;
    const char* event;  ///< stable name, for example "zoneUpdate"
    std::variant<PaSource, PaSink, PaZone, AnnouncementRequest, PaTrigger, PaSelector,
                 ScheduleDefinition, Lock, GoneNumber, GoneName, Retrieval, palink::Refusal,
                 palink::LevelReading>
        what;
};

/// What has changed since this object was made, in order. Changes are told on threads of the link
/// and wait here, so that no callback ever waits for the console.
class Changes {
public:
    /// Subscribes.
    Changes();
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;
    ~Changes();

    /// Takes the oldest change; waits at most `limit` for one.
    std::optional<Change> next(std::chrono::milliseconds limit);

    /// How many wait now.
    std::size_t waiting();

    void add(const Change& change);  ///< from any thread

private:
    std::mutex lock_;
    std::condition_variable added_;
    std::deque<Change> waiting_;  // guarded by lock_
};

/// Tells every subscriber of a refusal, which reaches the console beside the controller.
void tellRefusal(const palink::Refusal& refusal);

/// The same for what a level meter shows.
void tellLevel(const palink::LevelReading& reading);

}  // namespace console
