#include "console/shell/shellNews.h"

#include "client/resources.h"
#include "console/following/operate.h"
#include "console/text/changeText.h"
#include "sdk/PAController.h"
#include "sdk/operations.h"

namespace console {

namespace {

constexpr double releaseSeconds = 2;

std::string sourceText(int id) {
    return "source " + std::to_string(id);
}

}  // namespace

std::set<int> heldSources() {
    std::set<int> held;
    for (const paclient::SourceLock& lock : paclient::allLocks()) {
        if (lock.holder == "this client") {
            held.insert(lock.sourceId);
        }
    }
    return held;
}

void releaseSources(Output& diagnostics) {
    const ControllerLimit limit(releaseSeconds);
    bool answers = true;  // the server; when it does not, the other sources do not wait for it
    for (const int id : heldSources()) {
        answers = answers && gPaController.detachPaSource(id);
        diagnostics.diagnostic(
            sourceText(id) +
            (answers ? " is released" : " is still attached; its lock lapses at the server"));
    }
}

ShellNews::ShellNews(Output& diagnostics, bool reportsConnection)
    : diagnostics_(diagnostics),
      reportsConnection_(reportsConnection),
      changes_(paclient::kinds<palink::Refusal, paclient::LockChange, palink::ConnectionChange>()),
      held_(heldSources()) {}

void ShellNews::report(const std::string& reported) {
    while (const auto change = changes_.next()) {
        const std::string text = textOf(*change, reported);
        if (!text.empty()) {
            diagnostics_.diagnostic(text);
        }
    }
}

void ShellNews::reportAfter(const std::string& command, const std::string& reported) {
    if (command == "source attach" || command == "source detach") {
        held_ = heldSources();  // the command has reported what it has detached
    }
    report(reported);
}

/// @return empty for what the user need not read
std::string ShellNews::textOf(const paclient::Change& change, const std::string& reported) {
    if (const auto* const refusal = std::get_if<palink::Refusal>(&change)) {
        // The renewal of a lock may cross with its release: then it is refused.
        const bool isKnown = refusal->operation == pa::operations::renewLock ||
                             reported.find(refusal->reason) != std::string::npos;
        return isKnown ? "" : "refused: " + refusal->reason;
    }
    if (const auto* const lock = std::get_if<paclient::LockChange>(&change)) {
        const int id = lock->sourceId;
        const bool isLost = held_.count(id) > 0 && heldSources().count(id) == 0;
        held_.erase(isLost ? id : 0);
        return isLost ? sourceText(id) + " is no longer attached" : "";
    }
    return reportsConnection_ ? connectionText(change) : "";
}

}  // namespace console
