#pragma once

#include <string>

#include "console/following/Changes.h"

namespace console {

/// The change as one line for people: what, which one, and its state.
std::string changeText(const Change& change);

/// The change as one line of JSON: the name of the event, then the members of the record.
std::string changeJson(const Change& change);

}  // namespace console
