// SPDX-License-Identifier: Apache-2.0
#include "link/mqtt/ServerView.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

#include "framework/clock.h"
#include "framework/log.h"
#include "link/mqtt/recordPayload.h"

namespace palink {

namespace {

/// The station's clock now, in seconds since 1970 UTC.
std::int64_t clockOf(const ServerStatus& status) {
    constexpr double msPerSecond = 1000;
    constexpr double endOfYear9999 = 253402300799;
    const double hostMS = static_cast<double>(pa::wallClock()) * msPerSecond;
    const double passedMS = (hostMS - static_cast<double>(status.hostClockMS)) * status.speed;
    const double seconds = (static_cast<double>(status.clockMS) + passedMS) / msPerSecond;
    return static_cast<std::int64_t>(std::clamp(std::floor(seconds), 0.0, endOfYear9999));
}

std::string speedText(double speed) {
    char text[32];
    const auto [end, fault] = std::to_chars(std::begin(text), std::end(text), speed);
    return fault == std::errc() ? std::string(text, end) : "1";
}

/// @throws MalformedMessage
std::int64_t readGeneration(const std::optional<std::string>& text) {
    std::int64_t generation = 0;
    const char* const end = text ? text->data() + text->size() : nullptr;
    if (!text || std::from_chars(text->data(), end, generation).ptr != end || generation < 1) {
        throw MalformedMessage("no generation");
    }
    return generation;
}

}  // namespace

ServerView::ServerView(const Destinations& wanted)
    : wanted_(wanted), awaySinceMS_(pa::monotonicMS()) {
    ViewChange none;
    selectServers(none);
}

std::int64_t ServerView::generation(int dstNo) const {
    const ServerStatus* const status = directory_.find(dstNo);
    return status != nullptr ? status->generation : 0;
}

bool ServerView::hasControl() const {
    return selection_ && directory_.find(selection_->direct) != nullptr &&
           directory_.find(selection_->direct)->control;
}

// -------------------------------------------------------------------------- which servers

void ServerView::lose(const std::string& reason, ViewChange& change) {
    disconnect(reason, change);
    change.unsubscribe.clear();  // the broker has forgotten the subscriptions
    directory_.clear();
    selectServers(change);
}

void ServerView::takeStatus(int dstNo, std::string_view payload, ViewChange& change) {
    if (payload.empty()) {
        directory_.remove(dstNo);
    } else if (!directory_.set(dstNo, decodeStatus(payload))) {
        throw MalformedMessage("more than " + std::to_string(ServerDirectory::maxServers) +
                               " servers");
    }
    selectServers(change);
    if (const auto found = servers_.find(dstNo); found != servers_.end()) {
        Server& server = found->second;
        server.messageMS = pa::monotonicMS();
        server.mirror.expect(directory_.find(dstNo)->kinds);
        for (const pa::RecordKind kind : selection_->records.at(dstNo)) {
            withdrawLeftovers(dstNo, kind, *server.mirror.find(kind), change);
        }
        compare(change);
    }
}

void ServerView::selectServers(ViewChange& change) {
    auto choice = directory_.select(wanted_);
    if (const auto* const problem = std::get_if<std::string>(&choice)) {
        disconnect(reasonWithout(*problem), change);
        problem_ = *problem;
        return;
    }
    auto& next = std::get<Selection>(choice);
    const std::string reason = reasonFor(next);
    if (!selection_ || !reason.empty()) {
        disconnect(reason, change);
        connect(std::move(next), change);
    }
}

/// Why the present connection ends when there are no servers to use.
std::string ServerView::reasonWithout(const std::string& problem) const {
    const Selection present = selection_.value_or(Selection{});
    for (const int dstNo : {present.local, present.active}) {
        const ServerStatus* const status = directory_.find(dstNo);
        if (status == nullptr || !status->online) {
            return "server " + std::to_string(dstNo) + " is offline";
        }
    }
    return problem;
}

/// Why the present connection ends when these are the servers; empty when it goes on.
std::string ServerView::reasonFor(const Selection& next) const {
    if (!selection_) {
        return {};
    }
    if (next.active != selection_->active) {
        return "server " + std::to_string(next.active) + " is active in place of server " +
               std::to_string(selection_->active);
    }
    if (next.localGeneration != selection_->localGeneration) {
        return "server " + std::to_string(next.local) + " has started again";
    }
    if (next.activeGeneration != selection_->activeGeneration) {
        return "server " + std::to_string(next.active) + " has started again";
    }
    return {};
}

void ServerView::connect(Selection selection, ViewChange& change) {
    const ServerStatus& local = *directory_.find(selection.local);
    Connected connected{selection.local, selection.active, selection.indirect, {}};
    connected.serverInfo.set("name", local.name);
    connected.serverInfo.set("software", local.software);
    connected.serverInfo.set("timeZone", local.timeZone);
    connected.serverInfo.set("clock", std::to_string(clockOf(local)));
    connected.serverInfo.set("speed", speedText(local.speed));
    change.events.emplace_back(std::move(connected));
    const std::int64_t now = pa::monotonicMS();
    for (const auto& [dstNo, kinds] : selection.records) {
        const ServerStatus& status = *directory_.find(dstNo);
        Server& server = servers_.try_emplace(dstNo, kinds).first->second;
        server.generation = status.generation;
        server.messageMS = now;
        server.subscribedMS = now;
        server.mirror.expect(status.kinds);
        for (const pa::RecordKind kind : kinds) {
            change.subscribe.push_back(topics::recordsOf(dstNo, kind));
        }
    }
    selection_ = std::move(selection);
    problem_.clear();
    agrees_ = false;
    agreesSinceMS_ = now;
    compare(change);
}

void ServerView::disconnect(const std::string& reason, ViewChange& change) {
    if (!selection_) {
        return;
    }
    awaySinceMS_ = isSynced() ? pa::monotonicMS() : sinceMS();
    complete_ = false;
    change.events.emplace_back(Disconnected{reason});
    for (const auto& [dstNo, kinds] : selection_->records) {
        for (const pa::RecordKind kind : kinds) {
            change.unsubscribe.push_back(topics::recordsOf(dstNo, kind));
        }
    }
    selection_.reset();
    servers_.clear();
}

// -------------------------------------------------------------------------- records

void ServerView::takeRecord(const topics::RecordTopic& topic, std::string_view payload,
                            const std::optional<std::string>& generation, ViewChange& change) {
    const auto found = servers_.find(topic.dstNo);
    if (found == servers_.end()) {
        return;  // was on the way when another server was chosen
    }
    Server& server = found->second;
    KindMirror* const mirror = server.mirror.find(topic.kind);
    if (mirror == nullptr) {
        return;
    }
    if (const std::int64_t number = readGeneration(generation); number != server.generation) {
        // One of a newer generation arrives again when its status has arrived.
        outdated_ += number < server.generation ? 1 : 0;
        return;
    }
    server.messageMS = pa::monotonicMS();
    server.isAnswered = true;
    if (payload.empty()) {
        if (mirror->remove(topic.key)) {
            change.events.emplace_back(Withdrawal{topic.dstNo, topic.kind, topic.key});
        }
    } else if (mirror->put(topic.key, recordChecksum(topic.kind, topic.key, payload))) {
        change.events.emplace_back(Record{topic.dstNo, topic.kind, topic.key, {payload}});
        server.hasProgress = true;
    }
    withdrawLeftovers(topic.dstNo, topic.kind, *mirror, change);
    compare(change);
}

void ServerView::withdrawLeftovers(int dstNo, pa::RecordKind kind, KindMirror& mirror,
                                   ViewChange& change) {
    for (const int key : mirror.takeLeftovers()) {
        change.events.emplace_back(Withdrawal{dstNo, kind, key});
    }
}

/// Finds out whether everything is there.
void ServerView::compare(ViewChange& change) {
    const bool agrees = std::all_of(servers_.begin(), servers_.end(),
                                    [](const auto& entry) { return entry.second.mirror.agrees(); });
    if (agrees == agrees_) {
        return;
    }
    const std::int64_t now = pa::monotonicMS();
    const bool wasSynced = isSynced();
    agrees_ = agrees;
    agreesSinceMS_ = now;
    if (agrees) {
        syncedSinceMS_ = wasSynced ? syncedSinceMS_ : now;
        for (auto& [number, other] : servers_) {
            other.backoff.reset();
            other.fetchMS = 0;
            other.fetched.reset();
        }
        if (!complete_) {
            complete_ = true;
            change.events.emplace_back(InitialSetComplete{});
        }
    }
}

bool ServerView::isSynced() const {
    return complete_ && selection_ && (agrees_ || pa::monotonicMS() - agreesSinceMS_ < patienceMS);
}

std::int64_t ServerView::sinceMS() const {
    if (isSynced()) {
        return syncedSinceMS_;
    }
    return complete_ ? agreesSinceMS_ : awaySinceMS_;
}

// -------------------------------------------------------------------------- what is missing

std::int64_t ServerView::dueMS(Server& server) const {
    const std::int64_t patientMS = agreesSinceMS_ + patienceMS;
    if (server.fetched && server.mirror.find(*server.fetched)->agrees()) {
        return patientMS;  // the next kind
    }
    return std::max({patientMS, server.messageMS + patienceMS, server.fetchMS});
}

std::optional<std::int64_t> ServerView::nextDue() {
    std::optional<std::int64_t> next;
    for (auto& [dstNo, server] : servers_) {
        if (!agrees_ && !server.mirror.agrees()) {
            next = std::min(next.value_or(dueMS(server)), dueMS(server));
        }
    }
    return next;
}

void ServerView::awaitSubscription() {
    const std::int64_t now = pa::monotonicMS();
    for (auto& [dstNo, server] : servers_) {
        if (!server.isAnswered && now - server.subscribedMS < answerMS) {
            server.messageMS = now;
        }
    }
}

ViewChange ServerView::runDue() {
    ViewChange change;
    for (auto& [dstNo, server] : servers_) {
        if (!server.mirror.agrees() && dueMS(server) <= pa::monotonicMS()) {
            fetch(dstNo, server, change);
        }
    }
    return change;
}

/// Fetches one kind, the next in turn: a broker may drop what is too much at a time, and always the
/// same.
void ServerView::fetch(int dstNo, Server& server, ViewChange& change) {
    const std::vector<pa::RecordKind> kinds = server.mirror.differing();
    const auto next = std::find_if(kinds.begin(), kinds.end(), [&](pa::RecordKind kind) {
        return !server.fetched || kind > *server.fetched;
    });
    const pa::RecordKind kind = next == kinds.end() ? kinds.front() : *next;
    KindMirror& mirror = *server.mirror.find(kind);
    handleError(2,
                "server %d: records of kind %s differ from its status (%llu have arrived, it "
                "holds %llu): they are fetched again",
                dstNo, pa::nameOf(kind), static_cast<unsigned long long>(mirror.held().count),
                static_cast<unsigned long long>(mirror.expected().count));
    change.subscribe.push_back(topics::recordsOf(dstNo, kind));
    change.fetchStatuses = true;  // the last may have been dropped as well
    if (server.hasProgress) {
        server.backoff.reset();
    }
    ++fetches_;
    mirror.beginFetch();
    server.fetched = kind;
    server.hasProgress = false;
    server.isAnswered = false;
    server.subscribedMS = pa::monotonicMS();
    server.fetchMS = pa::monotonicMS() + server.backoff.next().count();
}

}  // namespace palink
