// SPDX-License-Identifier: Apache-2.0
#include "bench/link/stationSet.h"

#include "bench/sampleRecords.h"
#include "link/mqtt/recordPayload.h"
#include "link/mqtt/topics.h"

namespace bench {

namespace {

using pa::RecordKind;

constexpr int idleSink = 1;

struct KindShare {
    RecordKind kind;
    int per20;
    pa::RecordFields (*fields)(int key);
};

constexpr KindShare shares[] = {
    {RecordKind::Source, 2, [](int key) { return sourceFields(key, "Desk"); }},
    {RecordKind::Sink, 8, [](int key) { return sinkFields(key, idleSink); }},
    {RecordKind::Trigger, 2, triggerFields},
    {RecordKind::Selector, 1, selectorFields},
    {RecordKind::AttachedZones, 2, [](int /*key*/) { return attachedZonesFields(); }},
    {RecordKind::Schedule, 1, [](int /*key*/) { return scheduleFields(); }},
    {RecordKind::Zone, 4, zoneFields},
};
constexpr int allShares = 20;

PublishedRecord published(RecordKind kind, int key, const pa::RecordFields& fields) {
    return {palink::topics::record(stationDstNo, kind, key), palink::encodeRecord(fields)};
}

}  // namespace

int countOf(RecordKind kind, int count) {
    for (const KindShare& share : shares) {
        if (share.kind == kind) {
            return count / allShares * share.per20;
        }
    }
    return 0;
}

StationSet stationSet(int count) {
    StationSet station;
    palink::ServerStatus status;
    status.online = true;
    status.generation = stationGeneration;
    status.name = "Central Station";
    status.software = "benchmark";
    status.timeZone = "Europe/Vienna";
    for (const KindShare& share : shares) {
        palink::KindSummary& summary = status.kinds[share.kind];
        for (int key = 1; key <= countOf(share.kind, count); ++key) {
            station.records.push_back(published(share.kind, key, share.fields(key)));
            ++summary.count;
            summary.checksum +=
                palink::recordChecksum(share.kind, key, station.records.back().payload);
        }
    }
    station.status = {palink::topics::status(stationDstNo), palink::encodeStatus(status)};
    return station;
}

PublishedRecord change(int n, int count) {
    const int sinks = countOf(RecordKind::Sink, count);
    const int state = idleSink + (n / sinks + 1) % 2;
    const int key = 1 + n % sinks;
    return published(RecordKind::Sink, key, sinkFields(key, state));
}

}  // namespace bench
