#pragma once

#include <limits>
#include <string>
#include <vector>

/// @file
/// Values on the command line, read strictly: decimal numbers and nothing behind them.

namespace console {

/// The least and the greatest value allowed.
struct Whole {
    int least;
    int greatest;
};
struct Real {
    double least;
    double greatest;
};

constexpr int greatestWhole = std::numeric_limits<int>::max();
constexpr Whole anyWhole{std::numeric_limits<int>::min(), greatestWhole};

/// A whole number within limits.
/// @throws Failure that names the option, with what would be right
int parseWhole(const std::string& option, const std::string& text, Whole limits);

/// A finite number within limits, not a hexadecimal one.
/// @throws Failure as above
double parseNumber(const std::string& option, const std::string& text, Real limits);

/// `--items 12,40`: numbers with commas between.
/// @throws Failure as above
std::vector<unsigned> parseNumberList(const std::string& option, const std::string& text);

}  // namespace console
