// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/controller/fieldReaders.h"
#include "bench/controller/jsonFields.h"
#include "bench/controller/kinds.h"

/// @file
/// What the controller is compared with. None of it uses the controller: they read the same record
/// lists into the same plain types.

namespace bench {

/// The least: a plain struct that is filled field by field, one mutex and one look-up; a record
/// that has changed is stored.
template <class Kind>
class Floor {
public:
    using Record = typename Kind::Record;

    void take(int key, const TEVlist& list, bool hasChanged) {
        BareFields fields(list);
        Kind::read(fields, read_);
        const std::lock_guard guard(lock_);
        auto found = cache_.find(key);
        benchmark::DoNotOptimize(found);
        benchmark::DoNotOptimize(read_);
        if (hasChanged) {
            found->second = read_;
        }
    }
    void fill(int key, const TEVlist& list) {
        cache_[key];
        take(key, list, true);
    }

private:
    Record read_;
    std::mutex lock_;
    std::map<int, Record> cache_;
};

/// The same for a record in JSON.
template <class Kind>
class JsonReader {
public:
    using Record = typename Kind::Record;

    void take(int key, const simdjson::padded_string& json) {
        read(json);
        const std::lock_guard guard(lock_);
        auto found = cache_.find(key);
        benchmark::DoNotOptimize(found);
        benchmark::DoNotOptimize(read_);
    }
    void fill(int key, const simdjson::padded_string& json) {
        read(json);
        cache_[key] = read_;
    }

private:
    void read(const simdjson::padded_string& json) {
        simdjson::ondemand::document document = parser_.iterate(json).value();
        JsonFields fields(document.get_array().value());
        Kind::read(fields, read_);
    }

    Record read_;
    std::mutex lock_;
    std::map<int, Record> cache_;
    simdjson::ondemand::parser parser_;
};

template <class Record>
class PlainObserver {
public:
    virtual ~PlainObserver() = default;
    virtual void changed(Record record) = 0;
    virtual void deleted(int key) = 0;
    virtual void deleted(Record record) = 0;
};

template <class Record>
class CountingPlainObserver final : public PlainObserver<Record> {
public:
    void changed(Record record) override {
        benchmark::DoNotOptimize(record);
        ++count;
    }
    void deleted(int /*key*/) override { ++count; }
    void deleted(Record record) override { changed(std::move(record)); }

    std::uint64_t count = 0;
};

class PlainEventQueue {
public:
    void post(int type, int key) {
        const std::lock_guard guard(lock_);
        events_.emplace_back(type, key);
    }
    void clear() { events_.clear(); }

private:
    std::mutex lock_;
    std::vector<std::pair<int, int>> events_;
};

/// All effects of a record: texts without their encoding, lists and nested parts read, an update
/// only of what has changed, the holder of a source's lock, a copy for the observer, an event.
template <class Kind>
class ContractFloor {
public:
    using Record = typename Kind::Record;

    void take(int key, const TEVlist& list) {
        ContractFields fields(list);
        Kind::read(fields, read_);
        complete(read_, key);
        {
            const std::lock_guard guard(lock_);
            const auto found = cache_.try_emplace(key);
            Record& cached = found.first->second;
            const bool hasChanged = found.second || !(cached == read_);
            if (hasChanged) {
                std::swap(cached, read_);
            }
            if constexpr (std::is_same_v<Kind, SourceKind>) {
                locks_[cached.id] = hasChanged ? cached.lockedUUID : read_.lockedUUID;
            }
            if (!pauses) {
                publish(key, cached, hasChanged);
                return;
            }
            hasChanged_ = hasChanged;
        }
        // After the pause.
        const std::lock_guard guard(lock_);
        if (const auto found = cache_.find(key); found != cache_.end()) {
            publish(key, found->second, hasChanged_);
        }
    }

    void withdraw(int key) {
        const std::lock_guard guard(lock_);
        const auto found = cache_.find(key);
        if (found == cache_.end()) {
            return;
        }
        if constexpr (std::is_same_v<Kind, ScheduleKind> ||
                      std::is_same_v<Kind, AnnouncementKind>) {
            watcher_->deleted(asReported(found->second));
        } else if (Kind::observers != Follows::Never) {
            watcher_->deleted(key);
        }
        if (Kind::event != Follows::Never) {
            events_.post(eventType + 1, key);
        }
        cache_.erase(found);
    }

    std::vector<Record> all() {
        const std::lock_guard guard(lock_);
        std::vector<Record> records;
        records.reserve(cache_.size());
        for (const auto& entry : cache_) {
            records.push_back(asReported(entry.second));
        }
        return records;
    }

    Record copyOf(int key) {
        const std::lock_guard guard(lock_);
        return asReported(cache_.find(key)->second);
    }

    void clear() { cache_.clear(); }
    void clearEvents() { events_.clear(); }

private:
    static constexpr bool pauses =
        std::is_same_v<Kind, SourceKind> || std::is_same_v<Kind, ScheduleKind>;
    static constexpr int eventType = 6;

    static bool isDue(Follows when, bool hasChanged) {
        return when == Follows::Always || (when == Follows::OnChange && hasChanged);
    }

    /// The record as observers and callers of getters receive it: a schedule without the UUID that
    /// precedes its description.
    template <class Other>
    static const Other& asReported(const Other& record) {
        return record;
    }
    static ScheduleDefinition asReported(const ScheduleDefinition& record) {
        ScheduleDefinition reported = record;
        std::vector<std::string> parts;
        splitQuoted(record.descrption, '~', parts);
        if (parts.size() == 2) {
            reported.descrption = std::move(parts[1]);
        }
        return reported;
    }

    // What a record does not carry itself.
    static void complete(PaSink& record, int /*key*/) {
        constexpr const char* names[] = {"SINK_TYPE_NOT_DEFINED", "HIGH_IMPEDANCE_SPEAKER_BUS",
                                         "LOW_IMPEDANCE_AMPLIFIER_SPEAKER_OUTPUT",
                                         "INDUCTION_LOOP_OUTPUT", "LINE_LEVEL_AUDIO_OUTPUT"};
        record.typeAsString = names[record.type];
    }
    static void complete(AnnouncementRequest& record, int key) { record.id = key; }
    static void complete(ScheduleDefinition& record, int key) { record.Id = key; }
    static void complete(TTSVocalizer& record, int key) { record.portNo = key; }
    static void complete(TTSDictionary& record, int key) { record.key = key; }
    template <class Other>
    static void complete(Other& /*record*/, int /*key*/) {}

    void publish(int key, const Record& record, bool hasChanged) {
        if (isDue(Kind::observers, hasChanged)) {
            watcher_->changed(asReported(record));
        }
        if (isDue(Kind::event, hasChanged)) {
            events_.post(eventType, key);
        }
    }

    Record read_;
    bool hasChanged_ = false;
    std::mutex lock_;
    std::map<int, Record> cache_;
    std::unordered_map<int, std::string> locks_;
    PlainEventQueue events_;
    CountingPlainObserver<Record> observer_;
    PlainObserver<Record>* const watcher_ = &observer_;
};

}  // namespace bench
