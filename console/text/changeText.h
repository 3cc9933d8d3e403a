#pragma once

#include <string>

#include "client/Change.h"

namespace console {

enum class LineForm { Text, Json };

/// A change as one line. For people: what, which one, and its state; in JSON: the name of the
/// event, then the members of the record.
/// @return empty for what has no line: attached zones, readings of a meter, and what is of the
///         link only
std::string changeLine(const paclient::Change& change, LineForm form);

}  // namespace console
