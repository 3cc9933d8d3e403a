// SPDX-License-Identifier: Apache-2.0
// What a record costs, kind by kind, beside the references.
#include <benchmark/benchmark.h>
#include <string>
#include <vector>

#include "bench/controller/cases.h"
#include "bench/controller/kinds.h"
#include "bench/controller/recordBench.h"
#include "framework/log.h"
#include "sdk/globals.h"
#include "tests/support/noPauses.h"

namespace bench {

namespace {

struct WantedRatio {
    const char* row;
    double ratio;
};

constexpr WantedRatio wantedRatios[] = {
    {"source, 1000 cached, unchanged / floor", 1.4},
    {"source, 1000 cached, changed, 1 observer / floor", 1.6},
    {"source, 1000 cached, unchanged, its list built / floor", 1.5},
    {"source, 100000 cached, unchanged / floor", 1.5},
    {"sink, 1000 cached, unchanged / floor", 1.1},
    {"sink, 1000 cached, changed, 1 observer / floor", 1.6},
    {"sink, 1000 cached, unchanged, its list built / floor", 1.3},
    {"sink, 100000 cached, unchanged / floor", 1.1},
    {"zone, 1000 cached, changed, 1 observer / all effects", 1.3},
    {"trigger, 1000 cached, changed, 1 observer / all effects", 1.3},
    {"selector, 1000 cached, changed, 1 observer / all effects", 1.3},
    {"announcement, 1000 cached, unchanged / floor", 3},
    {"schedule, 1000 cached, unchanged / floor", 5},
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

double wantedRatioOf(const std::string& row) {
    for (const WantedRatio& wanted : wantedRatios) {
        if (row == wanted.row) {
            return wanted.ratio;
        }
    }
    return 0;
}

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
