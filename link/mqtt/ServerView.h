// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "../Backoff.h"
#include "../Transport.h"
#include "RecordMirror.h"
#include "ServerDirectory.h"
#include "topics.h"

namespace palink {

/// What follows from a message.
struct ViewChange {
    std::vector<ServerEvent> events;  ///< to deliver, in order
    std::vector<std::string> subscribe;
    std::vector<std::string> unsubscribe;  ///< before subscribing
    bool fetchStatuses = false;            ///< subscribe to them again
};

/// What a client knows of its servers: which it uses, and what it has received of their records. It
/// turns messages into events, and finds out what is missing. Not for use by two threads at a time.
class ServerView {
public:
    /// How long count and checksum may differ without a message before records are fetched again.
    static constexpr std::int64_t patienceMS = 1000;
    static constexpr std::int64_t answerMS = 30'000;

    explicit ServerView(const Destinations& wanted);

    /// The connection to the broker is lost, and with it all knowledge.
    /// @param reason for people
    void lose(const std::string& reason, ViewChange& change);

    /// @throws MalformedMessage
    void takeStatus(int dstNo, std::string_view payload, ViewChange& change);

    /// Records are delivered with their payload as the only field, for a `RecordDecoder`. The
    /// server counts a malformed one all the same.
    /// @param generation the user property of the message
    /// @throws MalformedMessage
    void takeRecord(const topics::RecordTopic& topic, std::string_view payload,
                    const std::optional<std::string>& generation, ViewChange& change);

    /// The broker has not acknowledged a subscription yet: it is slow, and nothing of a server
    /// counts as missing before the first record, or the acknowledgement, and `patienceMS` have
    /// passed. Not for longer than `answerMS`: a broker may drop the acknowledgement.
    void awaitSubscription();

    /// Fetches again what has been missing for some time.
    /// @return without events
    ViewChange runDue();

    /// When `runDue` has something to do, by the host's monotonic clock.
    [[nodiscard]] std::optional<std::int64_t> nextDue();

    /// The servers in use; null while there are none.
    [[nodiscard]] const Selection* selection() const { return selection_ ? &*selection_ : nullptr; }

    /// Why there are none, for people.
    [[nodiscard]] const std::string& problem() const { return problem_; }

    /// The generation of a server, 0 when it is not known.
    [[nodiscard]] std::int64_t generation(int dstNo) const;

    /// Whether the server that is in use takes control messages.
    [[nodiscard]] bool hasControl() const;

    /// Whether everything that the servers hold has arrived, but for what is on the way: what has
    /// been missing for less than `patienceMS`.
    [[nodiscard]] bool isSynced() const;

    /// Since when `isSynced` is as it is, by the host's monotonic clock.
    [[nodiscard]] std::int64_t sinceMS() const;

    [[nodiscard]] std::uint64_t fetches() const { return fetches_; }  ///< beyond the first
    [[nodiscard]] std::uint64_t outdated() const { return outdated_; }

private:
    struct Server {
        explicit Server(const std::vector<pa::RecordKind>& kinds) : mirror(kinds) {}
        RecordMirror mirror;
        std::int64_t generation = 0;
        std::int64_t messageMS = 0;               // when the last message came
        std::int64_t subscribedMS = 0;            // the last time
        bool isAnswered = false;                  // by a record since then
        std::int64_t fetchMS = 0;                 // the earliest time of the next fetch
        std::optional<pa::RecordKind> fetched{};  // the last kind that was fetched again
        bool hasProgress = false;                 // since then
        Backoff backoff;
    };

    void selectServers(ViewChange& change);
    void connect(Selection selection, ViewChange& change);
    void disconnect(const std::string& reason, ViewChange& change);
    [[nodiscard]] std::string reasonWithout(const std::string& problem) const;
    [[nodiscard]] std::string reasonFor(const Selection& next) const;
    static void withdrawLeftovers(int dstNo, pa::RecordKind kind, KindMirror& mirror,
                                  ViewChange& change);
    void compare(ViewChange& change);
    void fetch(int dstNo, Server& server, ViewChange& change);
    std::int64_t dueMS(Server& server) const;

    const Destinations wanted_;
    ServerDirectory directory_;
    std::optional<Selection> selection_;
    std::string problem_;
    std::map<int, Server> servers_;  // those in use, by destination number
    bool complete_ = false;          // InitialSetComplete has been delivered
    bool agrees_ = false;
    std::int64_t agreesSinceMS_ = 0;  // since when agrees_ is as it is
    std::int64_t syncedSinceMS_ = 0;
    std::int64_t awaySinceMS_;  // while complete_ is false
    std::uint64_t fetches_ = 0;
    std::uint64_t outdated_ = 0;
};

}  // namespace palink
