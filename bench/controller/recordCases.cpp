// What a record costs, kind by kind, beside the references.
#include <memory>
#include <optional>
#include <random>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/controller/references.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

constexpr char unchangedRow[] = "unchanged";
constexpr char changedRow[] = "changed, 1 observer";
constexpr char listRow[] = "unchanged, its list built";
constexpr char floorReference[] = " / floor";
constexpr char contractReference[] = " / all effects";
constexpr char jsonReference[] = " / JSON reader";

using pa::RecordKind;

/// The most that a row may be as a multiple of its reference.
struct WantedRatio {
    pa::RecordKind kind;
    int cached;
    const char* row;
    const char* reference;
    double ratio;
};

constexpr WantedRatio wantedRatios[] = {
    {RecordKind::Source, 1000, unchangedRow, floorReference, 1.4},
    {RecordKind::Source, 1000, changedRow, floorReference, 1.6},
    {RecordKind::Source, 1000, listRow, floorReference, 1.5},
    {RecordKind::Source, 100'000, unchangedRow, floorReference, 1.5},
    {RecordKind::Sink, 1000, unchangedRow, floorReference, 1.1},
    {RecordKind::Sink, 1000, changedRow, floorReference, 1.6},
    {RecordKind::Sink, 1000, listRow, floorReference, 1.3},
    {RecordKind::Sink, 100'000, unchangedRow, floorReference, 1.1},
    {RecordKind::Zone, 1000, changedRow, contractReference, 1.3},
    {RecordKind::Trigger, 1000, changedRow, contractReference, 1.3},
    {RecordKind::Selector, 1000, changedRow, contractReference, 1.3},
    {RecordKind::Announcement, 1000, unchangedRow, floorReference, 3},
    {RecordKind::Schedule, 1000, unchangedRow, floorReference, 5},
};

/// Of the controller of the process.
class ControllerObserver final : public pa::PAControllerObserverAdapter {
public:
    void onPaSourceUpdate(PaSource source) override { take(source); }
    void onPaSinkUpdate(PaSink sink) override { take(sink); }
    void onPaTriggerUpdate(PaTrigger trigger) override { take(trigger); }
    void onPaSelectorUpdate(PaSelector selector) override { take(selector); }
    void onScheduleUpdate(ScheduleDefinition schedule) override { take(schedule); }
    void onPaZoneUpdate(PaZone zone) override { take(zone); }
    void onMessageUpdate(AnnouncementRequest request) override { take(request); }

    std::uint64_t count = 0;

private:
    template <class Record>
    void take(Record& record) {
        benchmark::DoNotOptimize(record);
        ++count;
    }
};

void drainEvents() {
    EventItem event;
    while (pa::eventQueue::next(event)) {
    }
}

/// A record that has arrived, in all its forms.
struct Arrival {
    int key;
    pa::RecordFields fields;
    std::unique_ptr<pa::RecordList> list;
    simdjson::padded_string json;
};

template <class Kind>
class RecordBench {
public:
    RecordBench(const RunSettings& settings, std::vector<ResultRow>& rows)
        : settings_(settings), rows_(rows) {}

    void run() {
        for (const int usual : {10, 1000, 100'000}) {
            const int cached = settings_.size(usual, usual < 1000 ? 5 : 10);
            fillTo(cached);
            // With 100,000 only what depends on the size of a cache.
            measure(usual, unchangedRow, false);
            if (usual == 1000) {
                measure(usual, listRow, false, true);
            }
            measure(usual, changedRow, true);
        }
    }

private:
    static constexpr int perRound = 100;

    void fillTo(int count) {
        for (int key = static_cast<int>(versions_.size()); key <= count; ++key) {
            pa::RecordList list(Kind::fields(key, 0));
            Kind::handle(controller_, key, list.list());
            contract_.take(key, *list.list());
            floor_.fill(key, *list.list());
            json_.fill(key, jsonOf(*list.list()));
            versions_.push_back(0);
            if (key % 1000 == 0) {
                drainEvents();
                contract_.clearEvents();
            }
        }
    }

    static simdjson::padded_string jsonOf(const TEVlist& list) {
        JsonText json(list);
        typename Kind::Record read;
        Kind::read(json, read);
        return simdjson::padded_string(json.result());
    }

    void prepare(bool changed) {
        arrivals_.resize(perRound);
        std::uniform_int_distribution<int> anyKey(1, static_cast<int>(versions_.size()) - 1);
        for (Arrival& arrival : arrivals_) {
            arrival.key = anyKey(random_);
            char& version = versions_[static_cast<std::size_t>(arrival.key)];
            version = static_cast<char>(changed ? 1 - version : version);
            arrival.fields = Kind::fields(arrival.key, version);
            arrival.list = std::make_unique<pa::RecordList>(arrival.fields);
            arrival.json = jsonOf(*arrival.list->list());
        }
    }

    void measure(int cached, const char* row, bool hasChanged, bool buildsLists = false) {
        const auto handleAll = [this] {
            for (const Arrival& arrival : arrivals_) {
                Kind::handle(controller_, arrival.key, arrival.list->list());
            }
        };
        const auto buildAndHandleAll = [this] {
            for (Arrival& arrival : arrivals_) {
                pa::RecordList list(std::move(arrival.fields));
                Kind::handle(controller_, arrival.key, list.list());
            }
        };
        Contender controller;
        if (buildsLists) {
            controller.run = buildAndHandleAll;
        } else {
            controller.run = handleAll;
        }
        Contender floor{[this, hasChanged] {
                            for (const Arrival& arrival : arrivals_) {
                                floor_.take(arrival.key, *arrival.list->list(), hasChanged);
                            }
                        },
                        {}};
        Contender contract{[this] {
                               for (const Arrival& arrival : arrivals_) {
                                   contract_.take(arrival.key, *arrival.list->list());
                               }
                           },
                           {}};
        Contender json{[this] {
                           for (const Arrival& arrival : arrivals_) {
                               json_.take(arrival.key, arrival.json);
                           }
                       },
                       {}};
        TurnPlan plan;
        plan.itemsPerRound = perRound;
        plan.prepare = [this, hasChanged] { prepare(hasChanged); };
        plan.tidy = [this] {
            drainEvents();
            contract_.clearEvents();
        };
        std::vector<Contender*> contenders{&controller, &floor, &contract};
        if (!hasChanged) {
            contenders.push_back(&json);
        }
        compareInTurns(settings_, plan, contenders);
        addRow(cached, row, floorReference, controller, floor);
        if (!buildsLists) {
            addRow(cached, row, contractReference, controller, contract);
        }
        if (!buildsLists && !hasChanged) {
            addRow(cached, row, jsonReference, controller, json);
        }
    }

    void addRow(int cached, const char* row, const char* referenceName, const Contender& measured,
                const Contender& reference) {
        double wanted = 0;
        for (const WantedRatio& candidate : wantedRatios) {
            if (candidate.kind == Kind::kind && candidate.cached == cached &&
                candidate.row == row && candidate.reference == referenceName) {
                wanted = candidate.ratio;
            }
        }
        rows_.push_back(rowOf(std::string(pa::nameOf(Kind::kind)) + ", " + std::to_string(cached) +
                                  " cached, " + row + referenceName,
                              measured, reference, wanted));
    }

    const RunSettings settings_;
    std::vector<ResultRow>& rows_;
    PAController& controller_ = gPaController;
    Floor<Kind> floor_;
    ContractFloor<Kind> contract_;
    JsonReader<Kind> json_;
    std::vector<char> versions_{0};  // by key; there is no key 0
    std::vector<Arrival> arrivals_;
    std::minstd_rand random_{1};
};

template <class Kind>
std::vector<ResultRow> recordRows(const RunSettings& settings) {
    pa::setLogSink([](const pa::LogLine&) {});
    skipPauses();
    pa::store(gLocalDstNo, 1);
    pa::store(gActiveAudioServerDstNo, 1);
    gPaController.registerObserver(new ControllerObserver);  // never destroyed
    std::vector<ResultRow> rows;
    RecordBench<Kind>(settings, rows).run();
    return rows;
}

}  // namespace

BenchCases recordCases() {
    return {
        {"source", recordRows<SourceKind>},
        {"sink", recordRows<SinkKind>},
        {"zone", recordRows<ZoneKind>},
        {"trigger", recordRows<TriggerKind>},
        {"selector", recordRows<SelectorKind>},
        {"attached-zones", recordRows<AttachedZonesKind>},
        {"announcement", recordRows<AnnouncementKind>},
        {"schedule", recordRows<ScheduleKind>},
        {"tts-port", recordRows<TtsPortKind>},
        {"tts-item", recordRows<TtsDictionaryKind>},
    };
}

}  // namespace bench
