// SPDX-License-Identifier: Apache-2.0
#include "bench/resultTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace bench {

namespace {

/// Three digits, or all of a large number.
std::string numberText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value < 100 ? "%.3g" : "%.0f", value);
    return text;
}

double bestOf(const ResultRow& row, const Samples& samples) {
    return row.moreIsBetter ? samples.greatest() : samples.least();
}

std::string wantedText(const ResultRow& row) {
    std::string text;
    if (row.wantedMost > 0) {
        text = "< " + numberText(row.wantedMost) + ' ' + row.unit;
    }
    if (row.wantedRatio > 0) {
        text += (text.empty() ? "ratio " : ", ratio ");
        text += (row.moreIsBetter ? ">= " : "<= ") + numberText(row.wantedRatio);
    }
    return text.empty() || row.isAsWanted() ? text : text + "  MISSED";
}

std::string lineOf(std::size_t width, const std::vector<std::string>& cells) {
    char text[256];
    std::snprintf(text, sizeof text, "%-*s %9s %9s %9s %9s %6s  %-9s %s\n", static_cast<int>(width),
                  cells[0].c_str(), cells[1].c_str(), cells[2].c_str(), cells[3].c_str(),
                  cells[4].c_str(), cells[5].c_str(), cells[6].c_str(), cells[7].c_str());
    return text;
}

}  // namespace

double quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    const double place = share * static_cast<double>(values.size() - 1);
    return values[static_cast<std::size_t>(std::lround(place))];
}

double Samples::median() const {
    return quantile(values, 0.5);
}

double Samples::least() const {
    return *std::min_element(values.begin(), values.end());
}

double Samples::greatest() const {
    return *std::max_element(values.begin(), values.end());
}

double ResultRow::ratio() const {
    if (reference.values.empty()) {
        return 0;
    }
    Samples ratios;
    for (std::size_t i = 0; i < measured.values.size(); ++i) {
        ratios.values.push_back(measured.values[i] / reference.values.at(i));
    }
    return ratios.median();
}

bool ResultRow::isAsWanted() const {
    const bool isEnough = moreIsBetter ? ratio() >= wantedRatio : ratio() <= wantedRatio;
    return (wantedRatio == 0 || isEnough) && (wantedMost == 0 || measured.median() < wantedMost);
}

void ResultRow::inUnit(const char* name, double divisor) {
    unit = name;
    for (Samples* const samples : {&measured, &reference}) {
        for (double& value : samples->values) {
            value /= divisor;
        }
    }
}

std::string tableText(const std::vector<ResultRow>& rows) {
    std::size_t width = 40;
    for (const ResultRow& row : rows) {
        width = std::max(width, row.what.size());
    }
    std::string text =
        lineOf(width, {"", "median", "best", "reference", "best", "ratio", "unit", "wanted"});
    for (const ResultRow& row : rows) {
        const bool hasNone = row.reference.values.empty();
        const auto ofReference = [hasNone](const auto& value) {
            return hasNone ? std::string("-") : numberText(value());
        };
        text +=
            lineOf(width, {row.what, numberText(row.measured.median()),
                           numberText(bestOf(row, row.measured)),
                           ofReference([&] { return row.reference.median(); }),
                           ofReference([&] { return bestOf(row, row.reference); }),
                           ofReference([&] { return row.ratio(); }), row.unit, wantedText(row)});
    }
    return text;
}

std::string tableJson(const std::string& benchmark, const std::vector<ResultRow>& rows) {
    const auto optional = [](double wanted) {
        return wanted > 0 ? nlohmann::json(wanted) : nlohmann::json();
    };
    nlohmann::json all = nlohmann::json::array();
    for (const ResultRow& row : rows) {
        const auto summary = [&row](const Samples& samples) -> nlohmann::json {
            if (samples.values.empty()) {
                return nullptr;
            }
            return {{"median", samples.median()},
                    {"best", bestOf(row, samples)},
                    {"trials", samples.values}};
        };
        all.push_back({{"benchmark", benchmark},
                       {"what", row.what},
                       {"unit", row.unit},
                       {"moreIsBetter", row.moreIsBetter},
                       {"measured", summary(row.measured)},
                       {"reference", summary(row.reference)},
                       {"ratio", optional(row.ratio())},
                       {"wantedRatio", optional(row.wantedRatio)},
                       {"wantedMost", optional(row.wantedMost)},
                       {"asWanted", row.isAsWanted()}});
    }
    return all.dump(2) + '\n';
}

std::vector<ResultRow> rowsOf(const std::string& json) {
    const auto numberOr0 = [](const nlohmann::json& wanted) {
        return wanted.is_null() ? 0 : wanted.get<double>();
    };
    std::vector<ResultRow> rows;
    for (const nlohmann::json& row : nlohmann::json::parse(json)) {
        const auto samples = [&row](const char* name) {
            const nlohmann::json& summary = row.at(name);
            return summary.is_null() ? Samples()
                                     : Samples{summary.at("trials").get<std::vector<double>>()};
        };
        rows.push_back({row.at("what"), row.at("unit"), samples("measured"), samples("reference"),
                        row.at("moreIsBetter"), numberOr0(row.at("wantedRatio")),
                        numberOr0(row.at("wantedMost"))});
    }
    return rows;
}

}  // namespace bench
