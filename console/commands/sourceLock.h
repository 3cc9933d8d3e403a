#pragma once

#include <string>

#include "console/Context.h"
#include "console/text/records.h"

namespace console {

/// Who holds the lock of a source now.
Lock lockOf(int sourceId);

/// For example "source 3 is locked by nobody".
std::string sentence(const Lock& lock);

/// Takes the lock of a source for this client, and prints who holds it then.
/// @throws Failure when another client holds it, or the server does not confirm it
void attachSource(const Context& context, const PaSource& source);

/// Releases the lock.
/// @throws Failure when this client does not hold it, or the server does not confirm it
void detachSource(const Context& context, const PaSource& source);

}  // namespace console
