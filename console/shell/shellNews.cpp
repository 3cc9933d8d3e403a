#include "console/shell/shellNews.h"

#include "console/following/connectionText.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"
#include "sdk/operations.h"

namespace console {

namespace {

constexpr int releaseSeconds = 2;

std::string sourceText(int id) {
    return "source " + std::to_string(id);
}

}  // namespace

std::set<int> heldSources() {
    const std::string own = pa::load(gAudioServerInstance)->getUUID();
    std::set<int> held;
    for (const PaSourceLockStatus& lock : gPaController.getPaSourceLocks()) {
        if (lock.lockedUUID == own) {
            held.insert(lock.sourceId);
        }
    }
    return held;
}

void releaseSources(Output& diagnostics) {
    const int usual = pa::load(gMaxServerWaitTimeSeconds);
    pa::store(gMaxServerWaitTimeSeconds, releaseSeconds);
    bool answers = true;  // the server; when it does not, the other sources do not wait for it
    for (const int id : heldSources()) {
        answers = answers && gPaController.detachPaSource(id);
        diagnostics.diagnostic(
            sourceText(id) +
            (answers ? " is released" : " is still attached; its lock lapses at the server"));
    }
    pa::store(gMaxServerWaitTimeSeconds, usual);
}

ShellNews::ShellNews(Output& diagnostics)
    : diagnostics_(diagnostics),
      changes_(paclient::kinds<palink::Refusal, paclient::LockChange, palink::ConnectionChange>()),
      held_(heldSources()) {}

void ShellNews::tell(const std::string& said) {
    while (const auto change = changes_.next()) {
        const std::string text = textOf(*change, said);
        if (!text.empty()) {
            diagnostics_.diagnostic(text);
        }
    }
}

/// @return empty for what the user need not read
std::string ShellNews::textOf(const paclient::Change& change, const std::string& said) {
    if (const auto* const refusal = std::get_if<palink::Refusal>(&change)) {
        // The renewal of a lock may cross with its release: then it is refused.
        const bool isKnown = refusal->operation == pa::operations::renewLock ||
                             said.find(refusal->reason) != std::string::npos;
        return isKnown ? "" : "refused: " + refusal->reason;
    }
    if (const auto* const lock = std::get_if<paclient::LockChange>(&change)) {
        const int id = lock->sourceId;
        const bool isLost = held_.count(id) > 0 && heldSources().count(id) == 0;
        held_.erase(isLost ? id : 0);
        return isLost ? sourceText(id) + " is no longer attached" : "";
    }
    return connectionText(change);
}

}  // namespace console
