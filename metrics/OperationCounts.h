// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "metrics/Exposition.h"
#include "sdk/operations.h"

namespace pametrics {

/// How often something has happened to each operation. Every function may be called from any
/// thread.
class OperationCounts {
public:
    void add(const pa::OperationType& type);

    /// A counter for each operation, with its name in the label `operation`.
    void addTo(Exposition& to, const char* name, const char* help,
               const Exposition::Labels& labels = {}) const;

private:
    std::array<std::atomic<std::uint64_t>, 21> counts_{};  // the last one is of any other
};

}  // namespace pametrics
