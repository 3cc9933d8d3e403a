// SPDX-License-Identifier: Apache-2.0
#include "bench/controller/linkStation.h"

#include <chrono>
#include <stdexcept>

namespace bench {

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

void requireReady(palink::ServerLink& link) {
    if (!link.waitUntilReady(std::chrono::seconds(60))) {
        throw std::runtime_error("not synced");
    }
}

std::vector<ResultRow> rowsInMS(const std::string& what, const Contender& measured,
                                const Contender& reference, double wantedMS) {
    ResultRow time = rowOf(what, measured, reference);
    ResultRow processor{"  processor time of the process", "", measured.processor,
                        reference.processor};
    constexpr double nsPerMS = 1e6;
    time.wantedMost = wantedMS;
    time.inUnit("ms", nsPerMS);
    processor.inUnit("ms", nsPerMS);
    return {time, processor};
}

std::vector<ResultRow> joined(std::vector<ResultRow> rows, const std::vector<ResultRow>& more) {
    rows.insert(rows.end(), more.begin(), more.end());
    return rows;
}

}  // namespace bench
