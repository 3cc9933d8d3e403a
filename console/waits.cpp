#include "console/waits.h"

#include <algorithm>
#include <memory>

#include "console/interrupt.h"

namespace console {

namespace {

/// The status of a wait.
class Progress {
public:
    Progress(Output& diagnostics, const std::string& what)
        : diagnostics_(diagnostics), what_(what) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (shownSeconds_ > 0) {
            diagnostics_.status("");
        }
    }

    void show(long long seconds) {
        if (seconds != shownSeconds_) {
            shownSeconds_ = seconds;
            diagnostics_.status("waiting " + what_ + ": " + std::to_string(seconds) + " s");
        }
    }

private:
    Output& diagnostics_;
    const std::string what_;
    long long shownSeconds_ = 0;
};

}  // namespace

paclient::Wait interruptibleWait(double seconds) {
    const std::chrono::duration<double> limit(std::min(seconds, forEver));
    return {std::chrono::ceil<std::chrono::milliseconds>(limit),
            [](std::chrono::milliseconds /*waited*/) { interrupt::check(); }};
}

paclient::Wait shownWait(Output& diagnostics, const std::string& what, double seconds) {
    paclient::Wait wait = interruptibleWait(seconds);
    const auto progress = std::make_shared<Progress>(diagnostics, what);
    wait.whileWaiting = [progress](std::chrono::milliseconds waited) {
        interrupt::check();
        progress->show(waited.count() / 1000);
    };
    return wait;
}

}  // namespace console
