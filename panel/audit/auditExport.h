// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "panel/audit/AuditTrail.h"
#include "panel/http/Route.h"

namespace papanel {

/// The row as the API gives it.
Json rowJson(const AuditRow& row);

/// Writes the operations, the newest first, as a JSON array. They are read in parts: their number
/// has no limit.
void exportJson(AuditTrail& trail, AuditFilter filter, const Write& write);

/// The same as CSV (RFC 4180) with a line of names. A cell that a spreadsheet would take for a
/// formula begins with an apostrophe.
void exportCsv(AuditTrail& trail, AuditFilter filter, const Write& write);

}  // namespace papanel
