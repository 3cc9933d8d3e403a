#pragma once

#include <string>

#include "client/records.h"
#include "console/Context.h"

namespace console {

/// For example "source 3 is locked by nobody".
std::string sentence(const paclient::SourceLock& lock);

/// Takes the lock of a source for this client, and prints who holds it then.
/// @throws Failure when another client holds it, or the server does not confirm it
void attachSource(const Context& context, const PaSource& source);

/// Releases the lock.
/// @throws Failure when this client does not hold it, or the server does not confirm it
void detachSource(const Context& context, const PaSource& source);

}  // namespace console
