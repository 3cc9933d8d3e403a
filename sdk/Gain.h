// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A gain level in decibels. A plain value.
class Gain {
public:
    /// 0 dB: the level is left as it is.
    Gain() = default;
    /// @param level in dB; no range check here, each operation checks its own
    Gain(double level) : level_(level) {}  // implicit: a level in dB is a gain

    /// Replaces the level, in dB.
    void setLevel(double level) { level_ = level; }
    /// The level in dB.
    [[nodiscard]] double getLevel() const { return level_; }

    friend bool operator==(const Gain& a, const Gain& b) { return a.level_ == b.level_; }
    friend bool operator!=(const Gain& a, const Gain& b) { return !(a == b); }

private:
    double level_ = 0.0;
};
