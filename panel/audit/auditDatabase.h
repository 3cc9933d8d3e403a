// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

#include "panel/http/ApiError.h"
#include "util/Database.h"

namespace papanel {

/// Of an operation that runs.
constexpr const char* pendingOutcome = "pending";

/// Opens the database of the audit trail, and makes it if needed. What has no end there was so when
/// another process ended, and becomes "unknown".
/// @param file empty for one in memory
/// @throws std::runtime_error with a text that names the file
pautil::Database openAudit(const std::filesystem::path& file);

/// The result of `action()`.
/// @throws ApiError audit-unavailable when the database fails
template <class Action>
auto audited(Action action) {
    try {
        return action();
    } catch (const pautil::DatabaseFault& fault) {
        throw ApiError(503, "audit-unavailable",
                       std::string("the audit trail cannot be used: ") + fault.what());
    }
}

}  // namespace papanel
