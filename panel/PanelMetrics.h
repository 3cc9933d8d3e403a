// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <variant>

#include "client/ChangeStream.h"
#include "client/Endpoint.h"
#include "metrics/Exposition.h"
#include "metrics/OperationCounts.h"

namespace papanel {

class Router;
struct Services;

/// What is measured of the gateway and its connection to the audio server. Changes are counted as
/// they come; everything else is read when it is asked for. May be called from any thread.
class PanelMetrics {
public:
    /// Counts from then on.
    PanelMetrics();

    /// In the text format of Prometheus.
    /// @param connections of browsers
    [[nodiscard]] std::string text(const Services& services, const Router& router,
                                   std::size_t connections) const;

    /// The state of the way to a distant server.
    static void addLink(pametrics::Exposition& to, const paclient::LinkReport& report);

private:
    using Count = std::atomic<std::uint64_t>;

    void note(const paclient::Change& change);
    void addConnection(pametrics::Exposition& to, const Services& services) const;
    void addCounts(pametrics::Exposition& to) const;

    static constexpr std::size_t states = 10;  // of announcements
    static constexpr std::size_t reasons = 5;  // of dropped operations

    std::array<Count, std::variant_size_v<paclient::Change>> changes_{};
    pametrics::OperationCounts sent_;
    std::array<Count, reasons> dropped_{};
    std::array<Count, states> announcements_{};
    std::atomic<std::int64_t> syncedAtMS_;  // the last time, by `monotonicMS`
    const paclient::Listener listener_;     // the last one: it counts in the others
};

}  // namespace papanel
