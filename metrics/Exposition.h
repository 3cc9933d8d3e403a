// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <prometheus/metric_family.h>
#include <string>
#include <utility>
#include <vector>

#include "framework/durationCounts.h"

namespace pametrics {

/// The values of one moment, made when they are asked for.
class Exposition {
public:
    /// Names and values; each value must be one of a few, or a scraper keeps series without end.
    using Labels = std::vector<std::pair<std::string, std::string>>;

    /// Values of one name follow each other, with different labels.
    /// @param name of the conventions of Prometheus: a counter ends in _total
    /// @param help a sentence without an end
    void gauge(const char* name, const char* help, double value, const Labels& labels = {});
    void counter(const char* name, const char* help, double value, const Labels& labels = {});
    void histogram(const char* name, const char* help, const pa::Durations& durations,
                   const Labels& labels = {});

    /// The processor time and the memory of this process.
    void addProcess();

    /// In the text format 0.0.4.
    [[nodiscard]] std::string text() const;

    static constexpr const char* contentType = "text/plain; version=0.0.4; charset=utf-8";

private:
    prometheus::ClientMetric& add(prometheus::MetricType type, const char* name, const char* help,
                                  const Labels& labels);

    std::vector<prometheus::MetricFamily> families_;
};

}  // namespace pametrics
