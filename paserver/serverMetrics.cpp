// SPDX-License-Identifier: Apache-2.0
#include "paserver/serverMetrics.h"

#include "metrics/Exposition.h"

namespace paserver {

using pametrics::Exposition;

namespace {

constexpr const char* requestKinds[] = {"operation",   "roundTrip",  "level",
                                        "uploadBegin", "uploadData", "control"};
constexpr const char* operationOutcomes[] = {"accepted", "refused", "relayed", "ignored"};
constexpr const char* announcementOutcomes[] = {"finished", "cancelled", "pre-empted", "failed"};

template <class Number>
double valueOf(const Number& number) {
    return static_cast<double>(number);
}

/// A counter for each of some, by one label.
template <std::size_t size>
void addEach(Exposition& to, const char* name, const char* help, const char* label,
             const char* const (&values)[size], const ServerCounters::Counts<size>& counts) {
    for (std::size_t i = 0; i < size; ++i) {
        to.counter(name, help, valueOf(counts[i]), {{label, values[i]}});
    }
}

void addConnection(Exposition& to, const ServerState& state, const ServerCounters& counters) {
    to.gauge("public_address_server_connected", "Whether it is connected to the broker",
             state.isConnected ? 1 : 0);
    to.gauge("public_address_server_connected_seconds", "For how long it has been so",
             state.connectedSeconds);
    to.counter("public_address_server_connections_total", "Connections to the broker",
               valueOf(state.connections));
    to.gauge("public_address_server_active", "Whether it is the active server",
             state.isActive ? 1 : 0);
    to.gauge("public_address_server_ready",
             "Whether the broker has taken everything that it holds once", state.isReady ? 1 : 0);
    to.gauge("public_address_server_generation", "Number of its start, higher at each one",
             valueOf(state.generation));
    to.counter("public_address_server_restarts_total", "How often it has started again",
               valueOf(counters.restarts));
    to.gauge("public_address_server_state_bytes", "Size of the files of its state",
             valueOf(state.keptBytes));
}

void addRequests(Exposition& to, const ServerState& state, const ServerCounters& counters) {
    to.gauge("public_address_server_clients",
             "Clients whose operations were answered in the last minute", valueOf(state.clients));
    to.gauge("public_address_server_requests_waiting", "Requests of clients that wait",
             valueOf(state.requestsWaiting));
    addEach(to, "public_address_server_requests_total", "Requests of clients, also late ones",
            "kind", requestKinds, counters.requests);
    to.counter("public_address_server_requests_late_total",
               "Requests of clients that were taken too late to be carried out",
               valueOf(counters.late));
    to.counter("public_address_server_requests_repeated_total",
               "Requests of clients that had been carried out before", valueOf(counters.repeated));
    to.counter("public_address_server_requests_dropped_total",
               "Requests of clients for which there was no space", valueOf(counters.dropped));
    to.histogram("public_address_server_request_duration_seconds",
                 "Time from the arrival of a request until its answer is there",
                 counters.answers.read());
    for (std::size_t i = 0; i < counters.operations.size(); ++i) {
        counters.operations[i].addTo(to, "public_address_server_operations_total",
                                     "Operations that clients have asked for",
                                     {{"outcome", operationOutcomes[i]}});
    }
    addEach(to, "public_address_server_announcements_total", "Announcements that are over, by part",
            "outcome", announcementOutcomes, counters.announcements);
    to.gauge("public_address_server_uploads", "Files that clients are sending",
             valueOf(counters.uploads.underWay));
    to.counter("public_address_server_uploads_total", "Files that clients have sent",
               valueOf(counters.uploads.stored), {{"outcome", "stored"}});
    to.counter("public_address_server_uploads_total", "Files that clients have sent",
               valueOf(counters.uploads.failed), {{"outcome", "failed"}});
}

void addPublications(Exposition& to, const PublicationState& state, std::uint64_t published) {
    for (const pa::RecordKindRow& row : pa::recordKinds) {
        const auto found = state.records.find(row.kind);
        to.gauge("public_address_server_records", "Records that it holds",
                 found == state.records.end() ? 0 : valueOf(found->second.count),
                 {{"kind", row.name}});
    }
    to.gauge("public_address_server_messages_waiting", "Messages that wait to be published",
             valueOf(state.waiting));
    to.counter("public_address_server_messages_published_total",
               "Records, answers and levels that were handed to the broker", valueOf(published));
    to.counter("public_address_server_messages_dropped_total",
               "Answers and levels for which there was no space", valueOf(state.dropped));
    to.counter("public_address_server_publications_restarted_total",
               "How often everything was published again because the broker took too little",
               valueOf(state.overflows));
}

}  // namespace

std::string metricsText(const ServerState& state, const ServerCounters& counters) {
    Exposition all;
    addConnection(all, state, counters);
    addRequests(all, state, counters);
    addPublications(all, state.publications, counters.published);
    all.addProcess();
    return all.text();
}

}  // namespace paserver
