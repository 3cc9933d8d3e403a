#include "console/commands/sourceLock.h"

#include <string>

#include "console/following/operate.h"
#include "console/text/resources.h"
#include "sdk/PAController.h"

namespace console {

namespace {

/// Makes a call of the controller that waits for the server, no longer than the user wants.
void waitFor(const Context& context, const Request& request, bool (PAController::*call)(int),
             int sourceId) {
    if (!operateBlocking(context, request,
                         [call, sourceId] { return (gPaController.*call)(sourceId); })) {
        const Lock lock = lockOf(sourceId);
        // The controller asks nothing of the server when another client holds the lock.
        if (lock.holder == "another client") {
            throw Failure(ExitCode::Refused, sentence(lock));
        }
        throw unconfirmed(request);
    }
}

}  // namespace

std::string sentence(const Lock& lock) {
    return "source " + std::to_string(lock.sourceId) + " is locked by " + holderText(lock);
}

Lock lockOf(int sourceId) {
    for (const Lock& lock : locks.all()) {
        if (lock.sourceId == sourceId) {
            return lock;
        }
    }
    return {sourceId, "", "nobody"};
}

void attachSource(const Context& context, const PaSource& source) {
    const std::string effect = "source " + std::to_string(source.id) + " is locked";
    waitFor(context, {effect, {pa::operations::attachSource}}, &PAController::attachPaSource,
            source.id);
    const Lock now = lockOf(source.id);
    printOutcome(context, sentence(now), toJson(now));
    if (!context.connection.lasts) {
        context.diagnostics.diagnostic(
            "the lock lapses when this command has ended; a script keeps it, and 'paconsole "
            "shell'");
    }
}

void detachSource(const Context& context, const PaSource& source) {
    const Lock before = lockOf(source.id);
    if (before.holder != "this client") {
        throw Failure(ExitCode::Refused, sentence(before));
    }
    const std::string effect = "source " + std::to_string(source.id) + " is released";
    waitFor(context, {effect, {pa::operations::detachSource}}, &PAController::detachPaSource,
            source.id);
    const Lock now = lockOf(source.id);
    printOutcome(context, sentence(now), toJson(now));
}

}  // namespace console
