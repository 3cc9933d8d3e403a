#pragma once

#include <string>

#include "client/Wait.h"
#include "console/Output.h"

namespace console {

/// More seconds than any command waits, and few enough for the clock. No limit is longer.
constexpr double forEver = 1e9;

/// A wait that the user can interrupt.
paclient::Wait interruptibleWait(double seconds);

/// The same. A status shows on a terminal what is waited for and for how long, from the first
/// second on; it is removed when the wait no longer exists.
/// @param what as in "for the connection" or "until sink 3 is monitored"
paclient::Wait shownWait(Output& diagnostics, const std::string& what, double seconds);

}  // namespace console
