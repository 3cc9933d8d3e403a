// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "link/mqtt/MqttMessage.h"
#include "link/mqtt/serverStatus.h"
#include "paserver/Wake.h"
#include "sdk/recordKinds.h"

namespace paserver {

using RecordKey = std::pair<pa::RecordKind, int>;
using KindSummaries = std::map<pa::RecordKind, palink::KindSummary>;

/// What is held and what waits.
struct PublicationState {
    KindSummaries records{};
    std::size_t waiting = 0;      ///< messages
    std::uint64_t dropped = 0;    ///< answers and levels, so far
    std::uint64_t overflows = 0;  ///< how often what waited was dropped
};

/// What a server has to publish: the records that it holds, and its answers and levels, in one
/// order. Without a connection nothing waits; each connection begins with everything that is held.
///
/// What waits is bounded by memory. When a broker takes it too slowly it is dropped, which is
/// reported, and everything that is held is published again: the publisher is never held back.
///
/// Every function may be called from any thread.
class Publications {
public:
    static constexpr std::size_t maxBytes = std::size_t{32} << 20U;
    static constexpr std::int64_t statusPeriodMS = 100;      ///< not more often than that
    static constexpr std::int64_t statusRefreshMS = 30'000;  ///< also without a change

    /// @param wake called when there is something to publish
    Publications(int dstNo, Wake& wake) : dstNo_(dstNo), wake_(wake) {}

    /// A server begins, with a generation of its own: it holds nothing yet, and nothing waits.
    void beginGeneration(std::int64_t generation);

    /// @name Changes of what the server holds
    /// @{
    void put(const RecordKey& key, std::string payload);
    void withdraw(const RecordKey& key);
    void withdrawAll();
    /// @}

    /// An answer or a level. Dropped while much waits: clients ask again.
    void add(palink::MqttMessage message);

    /// A message of another connection on the topic of a record: has what is held there published
    /// again, or what is not held withdrawn.
    /// @param retained it was there before this connection, which publishes everything that is held
    void restore(const RecordKey& key, std::string_view payload,
                 const std::optional<std::string>& generation, bool retained);

    /// @name The connection to the broker
    /// @{
    void connected();
    void disconnected();

    /// Takes the next message that waits.
    std::optional<palink::MqttMessage> next();

    /// The message that was taken last was published with this id.
    void published(int id);

    /// The broker has acknowledged a publication.
    void acknowledged(int id);

    /// How often, since the last call, what waits was dropped.
    std::uint64_t takeOverflows();
    /// @}

    /// @name The status, which names what is held
    /// @{

    /// The status is to be published again, as soon as the period allows.
    void requestStatus();

    /// When the status is due, by `monotonicMS`; nothing while there is no connection.
    [[nodiscard]] std::optional<std::int64_t> statusDueMS() const;

    /// The kinds for the status that is published now.
    KindSummaries takeStatus(std::int64_t nowMS);
    /// @}

    /// For the metrics.
    [[nodiscard]] PublicationState state() const;

private:
    using Payload = std::shared_ptr<const std::string>;  // null: withdrawn
    struct Held {
        Payload payload;
        std::uint64_t checksum = 0;
        bool published = false;  // in this generation
    };
    struct Change {
        RecordKey key;
        Payload payload;
    };
    using Withdrawal = std::pair<RecordKey, std::uint64_t>;  // with its number
    struct Waiting {
        std::variant<Change, palink::MqttMessage> what;
        std::size_t bytes = 0;
    };

    void subtract(const RecordKey& key, std::uint64_t checksum);
    void changed();
    void push(Waiting waiting);
    void noteWithdrawal(const RecordKey& key) { unacknowledged_[key] = ++withdrawals_; }
    void pushChange(const RecordKey& key, const Payload& payload);
    void publishEverything();
    palink::MqttMessage messageOf(const Change& change);

    const int dstNo_;
    Wake& wake_;

    mutable std::mutex lock_;
    // Guarded by lock_.
    std::int64_t generation_ = 0;
    std::map<RecordKey, Held> held_;
    KindSummaries summaries_;
    // The withdrawals that the broker has not acknowledged, each with its number.
    std::map<RecordKey, std::uint64_t> unacknowledged_;
    std::uint64_t withdrawals_ = 0;
    bool connected_ = false;
    std::deque<Waiting> queue_;
    std::size_t bytes_ = 0;          // of what is in queue_, but for what a connection begins with
    std::set<RecordKey> restoring_;  // in queue_ because of another connection
    std::uint64_t overflows_ = 0;
    std::uint64_t takenOverflows_ = 0;
    std::uint64_t dropped_ = 0;              // answers and levels
    std::optional<Withdrawal> taken_;        // when the message that was taken last is one
    std::map<int, Withdrawal> awaited_;      // by the id of their publication
    std::optional<std::int64_t> changedMS_;  // the first change that no status names
    std::int64_t statusMS_ = 0;              // of the last status
};

}  // namespace paserver
