#include "console/Progress.h"

#include <memory>
#include <utility>

#include "console/Session.h"

namespace console {

Progress::Progress(Output& diagnostics, std::string what)
    : diagnostics_(diagnostics), what_(std::move(what)) {}

Progress::~Progress() {
    if (shownSeconds_ > 0) {
        diagnostics_.status("");
    }
}

void Progress::operator()(std::chrono::milliseconds waited) {
    const long long seconds = waited.count() / 1000;
    if (seconds == 0 || seconds == shownSeconds_) {
        return;
    }
    shownSeconds_ = seconds;
    diagnostics_.status("waiting " + what_ + ": " + std::to_string(seconds) + " s");
}

paclient::Wait shownWait(Output& diagnostics, const std::string& what, double seconds) {
    paclient::Wait wait = interruptibleWait(seconds);
    const auto progress = std::make_shared<Progress>(diagnostics, what);
    wait.whileWaiting = [progress, check = wait.whileWaiting](std::chrono::milliseconds waited) {
        check(waited);
        (*progress)(waited);
    };
    return wait;
}

}  // namespace console
