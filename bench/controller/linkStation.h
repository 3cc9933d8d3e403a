// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/controller/references.h"
#include "link/ServerLink.h"
#include "link/Transport.h"

/// @file
/// The records of a station, and the plain caches that take them for a reference.

namespace bench {

using palink::Record;

/// The kinds of a station, with their share.
template <class Kind, int per20>
struct Share {
    using kind = Kind;
    static constexpr int count(int records) { return records / 20 * per20; }
};
using Shares = std::tuple<Share<SourceKind, 2>, Share<AttachedZonesKind, 2>, Share<ScheduleKind, 1>,
                          Share<SinkKind, 8>, Share<ZoneKind, 4>, Share<TriggerKind, 2>,
                          Share<SelectorKind, 1>>;

/// Calls `call(share)` for each share.
template <class Call>
void forEachShare(Call call) {
    std::apply([&](auto... share) { (call(share), ...); }, Shares());
}

constexpr int dstNo = 1;

/// Calls `take(record)` for each record of a station.
template <class Take>
void forEachRecord(int count, Take take) {
    forEachShare([&](auto share) {
        using Kind = typename decltype(share)::kind;
        for (int key = 1; key <= share.count(count); ++key) {
            take(Record{dstNo, Kind::kind, key, Kind::fields(key, 0)});
        }
    });
}

inline std::vector<Record> stationRecords(int count) {
    std::vector<Record> records;
    forEachRecord(count, [&](Record record) { records.push_back(std::move(record)); });
    return records;
}

/// A plain cache for each kind, with all effects of a record.
class PlainStation {
public:
    void take(Record record) {
        pa::RecordList list(std::move(record.fields));
        std::apply([&](auto&... floor) { (takeIfOf(floor, record, *list.list()), ...); }, floors_);
    }
    void clear() {
        std::apply([](auto&... floor) { (floor.clear(), ...); }, floors_);
    }

private:
    template <class Kind>
    static void takeIfOf(ContractFloor<Kind>& floor, const Record& record, const TEVlist& list) {
        if (Kind::kind == record.kind) {
            floor.take(record.key, list);
            floor.clearEvents();
        }
    }

    std::tuple<ContractFloor<SourceKind>, ContractFloor<AttachedZonesKind>,
               ContractFloor<ScheduleKind>, ContractFloor<SinkKind>, ContractFloor<ZoneKind>,
               ContractFloor<TriggerKind>, ContractFloor<SelectorKind>>
        floors_;
};

/// @throws std::runtime_error unless the caches of the controller have every record of a station
void requireEverything(int count);

/// @throws std::runtime_error when it is not synced within a minute
void requireReady(palink::ServerLink& link);

/// The time in ms, and the processor time beside it.
std::vector<ResultRow> rowsInMS(const std::string& what, const Contender& measured,
                                const Contender& reference, double wantedMS);

std::vector<ResultRow> joined(std::vector<ResultRow> rows, const std::vector<ResultRow>& more);

}  // namespace bench
