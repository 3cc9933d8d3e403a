// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/controller/references.h"

namespace bench {

/// The most that a row may be as a multiple of its reference, by its name; 0 for any.
double wantedRatioOf(const std::string& row);

inline void drainEvents() {
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
inline constexpr bool hasGetter = false;
template <class Kind>
inline constexpr bool hasGetter<Kind, std::void_t<decltype(&Kind::all)>> = true;
template <class Kind, class = void>
inline constexpr bool hasLookUp = false;
template <class Kind>
inline constexpr bool hasLookUp<Kind, std::void_t<decltype(&Kind::find)>> = true;

/// The rows of a kind of record, for each size of the caches.
template <class Kind>
class RecordBench {
public:
    RecordBench(const RunSettings& settings, std::vector<ResultRow>& rows)
        : settings_(settings), rows_(rows) {}

    void run() {
        for (const int usual : {10, 1000, 100'000}) {
            const int cached = settings_.size(usual, usual < 1000 ? 5 : 10);
            fillTo(cached);
            if (usual == 10) {
                requireSameCaches();
            }
            measure(usual, "unchanged", false);
            if (usual == 1000) {
                measure(usual, "unchanged, its list built", false, true);
            }
            measure(usual, "changed, 1 observer", true);
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

    /// The contract floor has read the records as the controller has. Before the first withdrawal
    /// both have them in one order.
    void requireSameCaches() {
        if constexpr (hasGetter<Kind>) {
            const auto cached = Kind::all(controller_);
            const auto expected = contract_.all();
            if (!std::equal(cached.begin(), cached.end(), expected.begin(), expected.end())) {
                throw std::runtime_error(std::string("the reference differs: ") +
                                         pa::nameOf(Kind::kind));
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
        addRow(cached, row, " / floor", controller, floor);
        if (!buildsLists) {
            addRow(cached, row, " / all effects", controller, contract);
        }
        if (!buildsLists && !hasChanged) {
            addRow(cached, row, " / JSON reader", controller, json);
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
        addRow(cached, "one withdrawal", " / all effects", controller, contract);
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
        addRow(cached, "getter of all, for each", " / plain map", controller, plain);
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
        addRow(cached, "look-up by key", " / plain map", controller, plain);
    }

    [[nodiscard]] int keys() const { return static_cast<int>(versions_.size()) - 1; }
    int anyKey() { return std::uniform_int_distribution<int>(1, keys())(random_); }

    void drain() {
        drainEvents();
        contract_.clearEvents();
    }

    void addRow(int cached, const char* row, const char* referenceName, const Contender& measured,
                const Contender& reference) {
        const std::string name = std::string(pa::nameOf(Kind::kind)) + ", " +
                                 std::to_string(cached) + " cached, " + row + referenceName;
        rows_.push_back(rowOf(name, measured, reference, wantedRatioOf(name)));
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

}  // namespace bench
