// SPDX-License-Identifier: Apache-2.0
#include "metrics/Exposition.h"

#include <fstream>
#include <limits>
#include <prometheus/text_serializer.h>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

namespace pametrics {

using prometheus::MetricType;

prometheus::ClientMetric& Exposition::add(MetricType type, const char* name, const char* help,
                                          const Labels& labels) {
    if (families_.empty() || families_.back().name != name) {
        families_.push_back({name, help, type, {}});
    }
    prometheus::ClientMetric& metric = families_.back().metric.emplace_back();
    for (const auto& [label, value] : labels) {
        metric.label.push_back({label, value});
    }
    return metric;
}

void Exposition::gauge(const char* name, const char* help, double value, const Labels& labels) {
    add(MetricType::Gauge, name, help, labels).gauge.value = value;
}

void Exposition::counter(const char* name, const char* help, double value, const Labels& labels) {
    add(MetricType::Counter, name, help, labels).counter.value = value;
}

void Exposition::histogram(const char* name, const char* help, const pa::Durations& durations,
                           const Labels& labels) {
    constexpr double usPerSecond = 1e6;
    const auto& bounds = pa::Durations::boundsUS;
    auto& histogram = add(MetricType::Histogram, name, help, labels).histogram;
    for (std::size_t i = 0; i < durations.counts.size(); ++i) {
        histogram.sample_count += durations.counts[i];
        histogram.bucket.push_back({histogram.sample_count,
                                    i < bounds.size() ? static_cast<double>(bounds[i]) / usPerSecond
                                                      : std::numeric_limits<double>::infinity()});
    }
    histogram.sample_sum = std::chrono::duration<double>(durations.sum).count();
}

void Exposition::addProcess() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    counter("process_cpu_seconds_total", "Processor time of the process",
            seconds(used.ru_utime) + seconds(used.ru_stime));
    double pages = 0;
    double residentPages = 0;
    std::ifstream("/proc/self/statm") >> pages >> residentPages;
    gauge("process_resident_memory_bytes", "Memory of the process",
          residentPages * static_cast<double>(sysconf(_SC_PAGESIZE)));
}

std::string Exposition::text() const {
    std::ostringstream text;
    prometheus::TextSerializer().Serialize(text, families_);
    return text.str();
}

}  // namespace pametrics
