// What a record costs, kind by kind, beside the references.
#include <memory>
#include <random>
#include <type_traits>

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
constexpr char plainReference[] = " / plain map";

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
    void onPaSourceDelete(int id) override { take(id); }
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

template <class Kind, class = void>
constexpr bool hasGetter = false;
template <class Kind>
constexpr bool hasGetter<Kind, std::void_t<decltype(&Kind::all)>> = true;
template <class Kind, class = void>
constexpr bool hasLookUp = false;
template <class Kind>
constexpr bool hasLookUp<Kind, std::void_t<decltype(&Kind::find)>> = true;

template <class Kind>
class RecordBench {
public:
    RecordBench(const RunSettings& settings, std::vector<ResultRow>& rows)
        : settings_(settings), rows_(rows) {}

    void run() {
        for (const int usual : {10, 1000, 100'000}) {
            const int cached = settings_.size(usual, usual < 1000 ? 5 : 10);
            fillTo(cached);
            measure(usual, unchangedRow, false);
            if (usual == 1000) {
                measure(usual, listRow, false, true);
            }
            measure(usual, changedRow, true);
            measureWithdrawals(usual);
            if constexpr (hasGetter<Kind>) {
                measureGetter(usual);
            }
            if constexpr (hasLookUp<Kind>) {
                measureLookUps(usual);
            }
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
                drain();
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
        for (Arrival& arrival : arrivals_) {
            arrival.key = anyKey();
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
        const auto buildAndHandleAll = [this, list = std::make_shared<pa::RecordList>()] {
            for (Arrival& arrival : arrivals_) {
                list->assign(std::move(arrival.fields));
                Kind::handle(controller_, arrival.key, list->list());
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
        }};
        Contender contract{[this] {
            for (const Arrival& arrival : arrivals_) {
                contract_.take(arrival.key, *arrival.list->list());
            }
        }};
        Contender json{[this] {
            for (const Arrival& arrival : arrivals_) {
                json_.take(arrival.key, arrival.json);
            }
        }};
        TurnPlan plan;
        plan.itemsPerRound = perRound;
        plan.prepare = [this, hasChanged] { prepare(hasChanged); };
        plan.tidy = [this] { drain(); };
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

    /// Each contender withdraws the same keys; before the next round they are there again.
    void measureWithdrawals(int cached) {
        const int count = std::min(perRound, keys() / 2);
        std::vector<int> withdrawn;
        Contender controller{[&] {
            for (const int key : withdrawn) {
                Kind::withdraw(controller_, key);
            }
        }};
        Contender contract{[&] {
            for (const int key : withdrawn) {
                contract_.withdraw(key);
            }
        }};
        const auto restore = [&] {
            for (const int key : withdrawn) {
                pa::RecordList list(Kind::fields(key, versions_[static_cast<std::size_t>(key)]));
                Kind::handle(controller_, key, list.list());
                contract_.take(key, *list.list());
            }
            drain();
        };
        TurnPlan plan;
        plan.itemsPerRound = count;
        plan.prepare = [&] {
            restore();
            withdrawn.clear();
            int key = anyKey();
            for (int i = 0; i < count; ++i) {
                constexpr int apart = 7;  // divides none of the sizes
                key = 1 + (key + apart) % keys();
                withdrawn.push_back(key);
            }
        };
        plan.tidy = [this] { drain(); };
        compareInTurns(settings_, plan, {&controller, &contract});
        restore();
        addRow(cached, "one withdrawal", contractReference, controller, contract);
    }

    void measureGetter(int cached) {
        constexpr int fewest = 1000;
        const int calls = std::max(1, fewest / keys());
        Contender controller{[&] {
            for (int i = 0; i < calls; ++i) {
                benchmark::DoNotOptimize(Kind::all(controller_));
            }
        }};
        Contender plain{[&] {
            for (int i = 0; i < calls; ++i) {
                benchmark::DoNotOptimize(contract_.all());
            }
        }};
        TurnPlan plan;
        plan.itemsPerRound = calls * keys();
        plan.roundsPerTrial = keys() > fewest ? 1 : 5;
        compareInTurns(settings_, plan, {&controller, &plain});
        addRow(cached, "getter of all, for each", plainReference, controller, plain);
    }

    void measureLookUps(int cached) {
        std::vector<int> wanted;
        Contender controller{[&] {
            for (const int key : wanted) {
                benchmark::DoNotOptimize(Kind::find(controller_, key));
            }
        }};
        Contender plain{[&] {
            for (const int key : wanted) {
                benchmark::DoNotOptimize(contract_.copyOf(key));
            }
        }};
        TurnPlan plan;
        plan.itemsPerRound = perRound;
        plan.prepare = [&] {
            wanted.clear();
            for (int i = 0; i < perRound; ++i) {
                wanted.push_back(anyKey());
            }
        };
        compareInTurns(settings_, plan, {&controller, &plain});
        addRow(cached, "look-up by key", plainReference, controller, plain);
    }

    [[nodiscard]] int keys() const { return static_cast<int>(versions_.size()) - 1; }
    int anyKey() { return std::uniform_int_distribution<int>(1, keys())(random_); }

    void drain() {
        drainEvents();
        contract_.clearEvents();
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
