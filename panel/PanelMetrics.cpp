// SPDX-License-Identifier: Apache-2.0
#include "panel/PanelMetrics.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "client/Announcement.h"
#include "framework/clock.h"
#include "panel/Services.h"
#include "panel/access/Sessions.h"
#include "panel/api/records.h"
#include "panel/events/EventHub.h"
#include "panel/http/Router.h"
#include "sdk/globals.h"

namespace papanel {

using namespace paclient;
using pametrics::Exposition;

namespace {

constexpr const char* dropReasons[] = {"queueFull", "waitedTooLong", "stopped", "refused",
                                       "unlisted"};

/// How an announcement ends. The connection takes one that is not over out of the caches when it is
/// lost.
constexpr Announcement::State announcementOutcomes[] = {
    Announcement::State::Finished, Announcement::State::Cancelled, Announcement::State::PreEmpted,
    Announcement::State::Failed};

/// All but what comes several times a second while an operator looks at a meter, and what concerns
/// one subscription.
ChangeKinds countedChanges() {
    return ~kinds<palink::LevelReading, Lost>();
}

/// The names of the kinds of change, by their index.
template <std::size_t... indices>
std::array<const char*, sizeof...(indices)> namesOf(std::index_sequence<indices...> /*all*/) {
    return {eventName(Change(std::in_place_index<indices>))...};
}

double valueOf(std::uint64_t count) {
    return static_cast<double>(count);
}

void addQueues(Exposition& to, const palink::Transport& transport) {
    to.gauge("public_address_operations_waiting", "Operations that wait to be sent",
             valueOf(gQXReceiver.waiting()));
    to.gauge("public_address_events_waiting", "Events that wait to be delivered",
             valueOf(transport.eventsWaiting()));
}

void addRecordLatency(Exposition& to, const palink::ServerLink& link) {
    const char* const name = "public_address_record_latency_seconds";
    const char* const help =
        "Time from the arrival of a record until all its observers have been called";
    const palink::RecordDurations durations = link.recordDurations();
    to.histogram(name, help, durations.direct, {{"pause", "no"}});
    to.histogram(name, help, durations.paused, {{"pause", "yes"}});
}

void addPages(Exposition& to, const Services& services, const Router& router,
              std::size_t connections) {
    to.gauge("public_address_panel_pages", "Pages that follow the events",
             valueOf(services.events.log().pages()));
    to.counter("public_address_panel_pages_dropped_total",
               "Pages that were too slow, and have begun again",
               valueOf(services.events.log().dropped()));
    to.gauge("public_address_panel_changes_waiting", "Changes that wait to become events",
             valueOf(services.events.waiting()));
    to.gauge("public_address_panel_sessions", "Sessions", valueOf(services.sessions.count()));
    to.counter("public_address_panel_logins_refused_total", "Logins that were refused",
               valueOf(services.sessions.refusedLogins()));
    to.gauge("public_address_panel_http_connections", "Connections of browsers",
             valueOf(connections));
    for (const auto& [request, count] : router.counts()) {
        const auto& [method, route, status] = request;
        to.counter("public_address_panel_http_requests_total",
                   "Requests, by the pattern of the API; without one for everything else",
                   valueOf(count),
                   {{"method", method}, {"route", route}, {"status", std::to_string(status)}});
    }
    to.histogram("public_address_panel_operation_duration_seconds",
                 "Time of an operation, from its request to the answer of the audio server",
                 router.operationDurations().read());
}

}  // namespace

PanelMetrics::PanelMetrics()
    : syncedAtMS_(pa::monotonicMS()),
      listener_(countedChanges(), [this](const ChangePtr& change) { note(*change); }) {
    static_assert(std::size(dropReasons) == reasons);
}

void PanelMetrics::note(const Change& change) {
    ++changes_[change.index()];
    if (const auto* const sent = std::get_if<SentOperation>(&change)) {
        sent_.add(sent->operation.type);
    } else if (const auto* const drop = std::get_if<pa::DroppedOperation>(&change)) {
        dropped_[static_cast<std::size_t>(drop->reason)] += drop->count;
    } else if (const auto* const over = std::get_if<Deleted<AnnouncementRequest>>(&change)) {
        ++announcements_[static_cast<std::size_t>(stateOf(over->record))];
    } else if (const auto* const link = std::get_if<palink::ConnectionChange>(&change);
               link != nullptr && link->state == palink::ConnectionChange::State::Synced) {
        syncedAtMS_ = pa::monotonicMS();
    }
}

void PanelMetrics::addConnection(Exposition& to, const Services& services) const {
    constexpr double msPerSecond = 1e3;
    const bool isSynced = services.connection.isSynced();
    to.gauge("public_address_connected", "Whether there is a connection to the audio server",
             services.connection.link().isConnected() ? 1 : 0);
    to.gauge("public_address_synced", "Whether everything that the audio server holds is known",
             isSynced ? 1 : 0);
    to.gauge("public_address_synced_seconds", "For how long it has been so",
             isSynced ? static_cast<double>(pa::monotonicMS() - syncedAtMS_) / msPerSecond : 0);
    to.gauge("public_address_away_seconds", "For how long it has not been so",
             std::chrono::duration<double>(services.connection.awayFor()).count());
    const Json counts = statusOf(services)["counts"];
    for (const auto& count : counts.items()) {
        to.gauge("public_address_records", "Records that the audio server holds",
                 count.value().get<double>(), {{"kind", count.key()}});
    }
}

void PanelMetrics::addCounts(Exposition& to) const {
    const auto names = namesOf(std::make_index_sequence<std::variant_size_v<Change>>());
    for (std::size_t i = 0; i < changes_.size(); ++i) {
        if (!countedChanges()[i]) {
            continue;
        }
        to.counter("public_address_changes_total", "What the audio server and the link report",
                   valueOf(changes_[i]), {{"kind", names[i]}});
    }
    sent_.addTo(to, "public_address_operations_sent_total", "Operations that were sent");
    for (std::size_t i = 0; i < dropped_.size(); ++i) {
        to.counter("public_address_operations_dropped_total",
                   "Operations that did not reach the audio server", valueOf(dropped_[i]),
                   {{"reason", dropReasons[i]}});
    }
    for (const Announcement::State outcome : announcementOutcomes) {
        to.counter("public_address_announcements_total", "Announcements that are over, by part",
                   valueOf(announcements_[static_cast<std::size_t>(outcome)]),
                   {{"outcome", nameOf(outcome)}});
    }
}

void PanelMetrics::addLink(Exposition& to, const LinkReport& report) {
    to.gauge("public_address_link_complete",
             "Whether everything that the audio server has published has arrived",
             report.synced ? 1 : 0);
    to.gauge("public_address_link_requests_waiting", "Requests that wait for an answer",
             valueOf(report.requests));
    to.counter("public_address_link_requests_unanswered_total", "Requests whose outcome is unknown",
               valueOf(report.unanswered));
    to.counter("public_address_link_messages_dropped_total",
               "Messages that were malformed or outdated", valueOf(report.dropped));
    to.counter("public_address_link_fetches_total", "How often records were fetched again",
               valueOf(report.fetchedAgain));
}

std::string PanelMetrics::text(const Services& services, const Router& router,
                               std::size_t connections) const {
    Exposition all;
    addConnection(all, services);
    addQueues(all, services.connection.endpoint().transport());
    addRecordLatency(all, services.connection.link());
    addCounts(all);
    if (const auto report = services.connection.endpoint().report()) {
        addLink(all, *report);
    }
    addPages(all, services, router, connections);
    all.addProcess();
    return all.text();
}

}  // namespace papanel
