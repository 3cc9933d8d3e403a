// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../framework/api.h"
#include "../sdk/AnnouncementRequest.h"
#include "ChangeStream.h"
#include "Wait.h"

namespace paclient {

/// One announcement, from the request to its end.
///
///     Message message;
///     message.setAudioMessage("Mind the gap", "en", "Amelia", Message::UTF_8);
///     paclient::Announcement announcement({"Platform 1"}, message);
///     announcement.wait({std::chrono::minutes(1)});
///     if (announcement.state() != paclient::Announcement::State::Finished) ...
///
/// A request has an audio part, a visual part, or both; the server reports each by itself. A text
/// that is displayed with the validity 0 is not reported, see `partCount`.
///
/// When the connection is lost, the state is `Unknown` until the server has reported everything
/// again. What it then reports of the request counts; a part that it does not report any more stays
/// `Unknown`, since it may have played or not.
///
/// A refusal without an id is taken to be of every request without parts that it can be of; a part
/// that is reported later shows that it was not.
///
/// The object follows the request only: the announcement plays on when it is destroyed. Every
/// function may be called from any thread; those that wait, and the destructor, not from a
/// callback.
class PA_API Announcement {
public:
    /// Of a request, or of one of its parts.
    enum class State {
        Sending,   ///< no answer yet
        Accepted,  ///< the server has it, in a state that has no name here
        Queued,    ///< it waits for its zones
        Playing,
        Finished,
        Cancelled,
        PreEmpted,  ///< another announcement has taken its last zone
        Unknown,    ///< the connection is or was lost, or it was withdrawn without a result
        Failed,     ///< it could not be sent, uploaded or played; see the reason
        Refused,    ///< by the server, with the reason
    };

    /// What the server plays of the request: audio or visual.
    struct Part {
        AnnouncementRequest record;     ///< as reported last
        State state = State::Accepted;  ///< as its record reports
        std::string reason;             ///< why it is in this state; may be empty
        bool isOver = false;            ///< the server has withdrawn it
    };

    /// A zone of the request.
    struct ZoneState {
        std::string id;  ///< of the zone
        /// Whether an audio or a visual part of the announcement plays there now. The server
        /// reports what plays in a zone by its type only; so the announcement is taken to have lost
        /// a zone when another one of the same kind begins there after it.
        bool isPlaying = false;
    };

    /// Called when a part has another state, with the part; when the state of the whole request has
    /// changed otherwise (refused, not sent, connection lost or back), with null. Runs as a
    /// `Listener` does, under the same rules, and without a lock of this object.
    using Callback = std::function<void(State state, const Part* partOrNull)>;

    /// Follows the request, then sends it. Waits for the upload of a local file and for nothing
    /// else. A request id that the server cannot use is replaced by a new one.
    /// @throws std::invalid_argument when a request with this id is active, and as
    ///                               `Message::playAnnouncement`
    Announcement(std::vector<std::string> zoneIds, Message message, Callback callback = {});
    Announcement(const Announcement&) = delete;
    Announcement& operator=(const Announcement&) = delete;
    ~Announcement();

    /// The id under which it was sent.
    [[nodiscard]] const std::string& requestId() const;

    /// How many parts the server reports: 0 for a text that is displayed with the validity 0 and
    /// nothing else. Such a request stays `Sending` unless it is refused.
    [[nodiscard]] std::size_t partCount() const;

    /// That of its parts which is not over and furthest; when all are over, the worst result.
    [[nodiscard]] State state() const;

    /// Why it is in this state, in the server's words; may be empty.
    [[nodiscard]] std::string reason() const;

    /// Those that have been reported, in order of their record numbers.
    [[nodiscard]] std::vector<Part> parts() const;

    /// For each requested zone, in order. Takes the controller's mutex.
    [[nodiscard]] std::vector<ZoneState> zones() const;

    /// Whether nothing more is expected: the server has withdrawn every part, there will be none,
    /// or the outcome stays unknown.
    [[nodiscard]] bool isOver() const;

    /// Waits until the server has accepted the request, or until it is over.
    /// @return the state then, also when the limit has passed
    /// @throws whatever `wait.whileWaiting` throws
    State waitUntilAccepted(const Wait& wait);

    /// Waits until it is over; as above.
    State wait(const Wait& wait);

    /// Has the server cancel it, and waits until it is over.
    /// @return `Done` when it was cancelled, `AsBefore` when it was over already, `Refused` with
    ///         the reason when it ended otherwise meanwhile, or the server has refused
    /// @throws whatever `wait.whileWaiting` throws
    Confirmation cancel(const Wait& wait);

private:
    struct Course;

    template <class Condition>
    State waitUntil(Condition reached, const Wait& wait);

    const std::vector<std::string> zones_;
    const std::shared_ptr<Course> course_;
    Listener listener_;
};

/// Whether a request, or a part, in this state is over.
PA_API bool isEnd(Announcement::State state);

/// For example "pre-empted".
PA_API const char* nameOf(Announcement::State state);

/// The state that a record reports.
PA_API Announcement::State stateOf(const AnnouncementRequest& record);

/// "audio" or "visual".
PA_API const char* partName(const AnnouncementRequest& record);

/// What a cancellation has ended.
struct Cancellation {
    Confirmation confirmation;               ///< whether it has ended what was asked for
    std::vector<AnnouncementRequest> ended;  ///< as reported last, in order of their numbers
};

/// Has the server cancel a request, whichever client has made it, and waits until every part is
/// withdrawn. May be called from any thread but from a callback.
/// @return `Refused` also when a part ended otherwise before it could be cancelled
/// @throws whatever `wait.whileWaiting` throws
PA_API Cancellation cancelAnnouncement(const std::string& requestId, const Wait& wait);

/// The same for every announcement of a type that is active when this is called.
PA_API Cancellation cancelAnnouncements(Message::Type type, const Wait& wait);

}  // namespace paclient
