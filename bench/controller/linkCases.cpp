// What the records of a server cost through router and link, in one process.
#include <condition_variable>
#include <functional>
#include <mutex>
#include <tuple>
#include <utility>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/controller/references.h"
#include "bench/loadFixture.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

using load::LoadFixture;
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

std::vector<Record> stationRecords(int count) {
    std::vector<Record> records;
    forEachShare([&](auto share) {
        using Kind = typename decltype(share)::kind;
        for (int key = 1; key <= share.count(count); ++key) {
            records.push_back({dstNo, Kind::kind, key, Kind::fields(key, 0)});
        }
    });
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

void requireEverything(int count) {
    const PAController& controller = gPaController;
    const std::size_t cached =
        controller.getPaSources().size() + controller.listSchedules().size() +
        controller.getPaSinks().size() + controller.getPaZones().size() +
        controller.getHwPaTriggers().size() + controller.getPaSelectors().size();
    int expected = -Share<AttachedZonesKind, 2>::count(count);  // no getter counts them
    forEachShare([&](auto share) { expected += share.count(count); });
    if (cached != static_cast<std::size_t>(expected)) {
        throw std::runtime_error("records are missing in the caches");
    }
}

ResultRow inMS(ResultRow row) {
    constexpr double nsPerMS = 1e6;
    row.unit = "ms";
    for (Samples* const samples : {&row.measured, &row.reference}) {
        for (double& value : samples->values) {
            value /= nsPerMS;
        }
    }
    return row;
}

ResultRow syncRow(const RunSettings& settings, LoadFixture& fixture, int usual, double wantedMS) {
    const int count = settings.size(usual, 20);
    std::vector<Record> records;
    std::vector<Record> plainRecords;
    PlainStation plain;
    Contender link{[&] {
                       fixture.fake.deliver(palink::Connected{dstNo, dstNo, false, {}});
                       for (Record& record : records) {
                           fixture.fake.deliver(std::move(record));
                       }
                       fixture.fake.deliver(palink::InitialSetComplete{});
                       if (!fixture.link.waitUntilReady(std::chrono::seconds(60))) {
                           throw std::runtime_error("not synced");
                       }
                   },
                   {}};
    Contender reference{[&] {
                            for (Record& record : plainRecords) {
                                plain.take(std::move(record));
                            }
                        },
                        {}};
    TurnPlan plan;
    plan.ofThisThread = false;
    plan.roundsPerTrial = 1;
    plan.prepare = [&] {
        fixture.fake.deliver(palink::Withdrawal{});
        fixture.transport.waitUntilDelivered();
        fixture.fake.deliver(palink::Disconnected{"the next trial"});
        fixture.transport.waitUntilDelivered();
        EventItem event;
        while (pa::eventQueue::next(event)) {
        }
        plain.clear();
        records = stationRecords(count);
        plainRecords = records;
    };
    compareInTurns(settings, plan, {&link, &reference});
    requireEverything(count);
    ResultRow row = inMS(rowOf(
        "sync of " + std::to_string(usual) + " records in the process, no pauses / all effects",
        link, reference));
    row.wantedMost = wantedMS;
    return row;
}

std::vector<ResultRow> sync(const RunSettings& settings) {
    skipPauses();
    LoadFixture& fixture = load::newFixture();
    return {syncRow(settings, fixture, 10'000, 30), syncRow(settings, fixture, 100'000, 0)};
}

}  // namespace

BenchCases linkCases() {
    return {{"sync", sync}};
}

}  // namespace bench
