#include "console/shell/shellNews.h"

#include "console/following/RenewalCounter.h"
#include "sdk/AudioServer.h"
#include "sdk/PAController.h"
#include "sdk/globals.h"

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
    bool answers = true;  // the server; if it does not, every source would wait for it anew
    for (const int id : heldSources()) {
        answers = answers && gPaController.detachPaSource(id);
        diagnostics.diagnostic(
            sourceText(id) +
            (answers ? " is released" : " is still attached; its lock lapses at the server"));
    }
    pa::store(gMaxServerWaitTimeSeconds, usual);
}

ShellNews::ShellNews(Output& diagnostics) : diagnostics_(diagnostics), held_(heldSources()) {}

void ShellNews::tell(const std::string& said) {
    constexpr std::chrono::milliseconds now{0};
    for (auto change = changes_.next(now); change; change = changes_.next(now)) {
        const auto* const refusal = std::get_if<palink::Refusal>(&change->what);
        const bool isNews = refusal != nullptr && !isOfRenewal(*refusal) &&
                            said.find(refusal->reason) == std::string::npos;
        if (isNews) {
            diagnostics_.diagnostic("refused: " + refusal->reason);
        }
    }
    const std::set<int> held = heldSources();
    for (const int id : held_) {
        if (held.count(id) == 0) {
            diagnostics_.diagnostic(sourceText(id) + " is no longer attached");
        }
    }
    held_ = held;
}

}  // namespace console
