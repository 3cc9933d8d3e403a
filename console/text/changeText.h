// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "client/Change.h"

namespace console {

enum class LineForm { Text, Json };

/// A change as one line, with the time at the station now. For people: what, which one, and its
/// state; in JSON: the name of the event and the time, then the members of the record.
/// @return empty for what has no line: attached zones, readings of a meter, and what is of the
///         link only
std::string changeLine(const paclient::Change& change, LineForm form);

/// What the user reads about the connection and about what was lost: a line without its end, or
/// nothing when the change is another one.
std::string connectionText(const paclient::Change& change);

/// @throws Failure when the change is the loss of the connection
void requireNoLoss(const paclient::Change& change);

}  // namespace console
