#include "console/Progress.h"

#include <utility>

#include "console/interrupt.h"

namespace console {

Progress::Progress(Output& diagnostics, std::string what, std::chrono::milliseconds expected)
    : diagnostics_(diagnostics), what_(std::move(what)), expected_(expected) {}

Progress::~Progress() {
    if (shownSeconds_ > 0) {
        diagnostics_.status("");
    }
}

void Progress::operator()(std::chrono::milliseconds waited) {
    interrupt::check();
    const auto secondsOf = [](std::chrono::milliseconds time) { return time.count() / 1000; };
    if (secondsOf(waited) <= shownSeconds_) {
        return;
    }
    shownSeconds_ = secondsOf(waited);
    const std::string limit =
        expected_.count() > 0 ? " of about " + std::to_string(secondsOf(expected_)) : "";
    diagnostics_.status("waiting for " + what_ + ": " + std::to_string(shownSeconds_) + limit +
                        " s");
}

}  // namespace console
