// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace bench {

/// What the trials of a measurement have found, in their order.
struct Samples {
    std::vector<double> values;

    [[nodiscard]] double median() const;
    [[nodiscard]] double least() const;
    [[nodiscard]] double greatest() const;
};

/// The value below which a share of the values is.
/// @param values not empty
double quantile(std::vector<double> values, double share);

/// A measurement beside its reference of the same run: their trials take turns. What has nothing to
/// be compared with has no samples of a reference.
struct ResultRow {
    std::string what;
    std::string unit;
    Samples measured;
    Samples reference;
    bool moreIsBetter = false;
    /// What the ratio may be at the most, or at the least when more is better; 0 for any.
    double wantedRatio = 0;
    /// The most that the median may be; 0 for any.
    double wantedMost = 0;

    /// The median of the ratios of each trial to that of the reference beside it; 0 without one.
    [[nodiscard]] double ratio() const;
    [[nodiscard]] bool isAsWanted() const;

    /// Divides all samples.
    void inUnit(const char* name, double divisor);
};

/// One line for each row: median and best of both, the ratio, and what is wanted.
std::string tableText(const std::vector<ResultRow>& rows);

/// An array of objects.
/// @param benchmark the name of the program, in each of them
std::string tableJson(const std::string& benchmark, const std::vector<ResultRow>& rows);

/// Reads what `tableJson` has written.
/// @throws nlohmann::json::exception for anything else
std::vector<ResultRow> rowsOf(const std::string& json);

}  // namespace bench
