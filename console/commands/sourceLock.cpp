#include "console/commands/sourceLock.h"

#include "client/confirmedOperations.h"
#include "client/resources.h"
#include "console/ExitCode.h"
#include "console/following/operate.h"

namespace console {

using namespace paclient;

namespace {

/// @throws Failure that names the holder, when the lock is the reason
void requireLockable(const Confirmation& confirmation, int sourceId) {
    if (confirmation.state == Confirmation::State::Refused &&
        paclient::lockHolder(sourceId) != paclient::ownUUID()) {
        throw Failure(ExitCode::Refused, sentence(lockOf(sourceId)));
    }
}

/// Asks for a change of a lock, and prints who holds it then.
template <class Operation>
void changeLock(const Context& context, int sourceId, const std::string& effect,
                Operation operation) {
    operate(context, "source " + std::to_string(sourceId) + effect, [&](const Wait& wait) {
        const Confirmation confirmation = operation(sourceId, wait);
        requireLockable(confirmation, sourceId);
        return confirmation;
    });
    const SourceLock now = lockOf(sourceId);
    printOutcome(context, sentence(now), paclient::toJson(now));
}

}  // namespace

std::string sentence(const SourceLock& lock) {
    return "source " + std::to_string(lock.sourceId) + " is locked by " +
           paclient::holderText(lock);
}

void attachSource(const Context& context, const PaSource& source) {
    changeLock(context, source.id, " is locked", paclient::takeLock);
    if (!context.connection.lasts) {
        context.diagnostics.diagnostic(
            "the lock lapses when this command has ended; a script keeps it, and 'paconsole "
            "shell'");
    }
}

void detachSource(const Context& context, const PaSource& source) {
    changeLock(context, source.id, " is released", paclient::releaseLock);
}

}  // namespace console
