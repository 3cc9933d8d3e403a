#pragma once

#include <string>

#include "client/Change.h"

namespace console {

/// What the user reads about the connection and about what was lost: a line without its end, or
/// nothing when the change is another one.
std::string connectionText(const paclient::Change& change);

/// Whether the connection is lost.
bool isLoss(const paclient::Change& change);

}  // namespace console
