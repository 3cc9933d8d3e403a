// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace palink {

/// Reports messages that are not as the protocol has them, through `handleError` at level 2. A peer
/// that sends many of them fills no log: at most ten lines are written in ten seconds, and how many
/// were left out. May be used from any thread.
class FaultReports {
public:
    void report(std::string_view topic, const std::string& fault);

    /// How many there were.
    [[nodiscard]] std::uint64_t count() const;

private:
    mutable std::mutex lock_;
    // Guarded by lock_.
    std::uint64_t count_ = 0;
    std::int64_t periodMS_ = 0;  // its begin
    int written_ = 0;            // in this period
    std::uint64_t leftOut_ = 0;  // since the last line
};

}  // namespace palink
